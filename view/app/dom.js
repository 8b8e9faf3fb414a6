// Makes elements. Data becomes text and attributes only, never markup.

/**
 * Properties: `class`, `data` (an object), `on` (handlers by event), anything else an attribute; null and false leave
 * it out.
 */
export function el(tag, properties = {}, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(properties)) {
        if (value === null || value === undefined || value === false)
            continue;
        if (name === 'class')
            element.className = value;
        else if (name === 'data')
            Object.assign(element.dataset, value);
        else if (name === 'on')
            for (const [event, handler] of Object.entries(value))
                element.addEventListener(event, handler);
        else
            element.setAttribute(name, value === true ? '' : value);
    }
    element.append(...children.flat().filter((child) => child !== null && child !== undefined && child !== false));
    return element;
}

/** Gives an element its children. Those that are among them already, in the same order, keep focus and pictures. */
export function setChildren(element, children) {
    const wanted = new Set(children);
    for (const child of [...element.children])
        if (!wanted.has(child))
            child.remove();
    children.forEach((child, index) => {
        if (element.children[index] !== child)
            element.insertBefore(child, element.children[index] ?? null);
    });
}

const paths = {
    photos: 'M4 5h16v14H4zM4 16l5-5 4 4 2.5-2.5L20 17M15.5 9.5h.01',
    albums: 'M7 4h13v13M4 7h13v13H4z',
    duplicates: 'M8 8h12v12H8zM16 8V4H4v12h4',
    trash: 'M5 7h14M10 7V4h4v3M7 7l1 13h8l1-13M10.5 11v5M13.5 11v5',
    search: 'M11 4a7 7 0 1 0 0 14 7 7 0 0 0 0-14zM16 16l5 5',
    import: 'M12 16V4M7 9l5-5 5 5M4 16v4h16v-4',
    download: 'M12 4v12M7 11l5 5 5-5M4 16v4h16v-4',
    close: 'M6 6l12 12M18 6 6 18',
    back: 'M15 5l-7 7 7 7',
    next: 'M9 5l7 7-7 7',
    heart: 'M12 20s-8-4.7-8-10.3A4.4 4.4 0 0 1 12 7a4.4 4.4 0 0 1 8 2.7C20 15.3 12 20 12 20z',
    info: 'M12 4a8 8 0 1 0 0 16 8 8 0 0 0 0-16zM12 11v5M12 8h.01',
    turn: 'M5 11a7 7 0 1 1 2 6M5 5v6h6',
    compare: 'M12 4v16M4 6h5v12H4zM15 6h5v12h-5z',
    revert: 'M9 7 4 12l5 5M4 12h10a6 6 0 0 1 6 6',
    play: 'M8 5l11 7-11 7z',
    check: 'M5 12.5l4.5 4.5L19 7.5',
    plus: 'M12 5v14M5 12h14',
    pencil: 'M4 20l1-4L16 5l3 3L8 19z',
    clock: 'M12 4a8 8 0 1 0 0 16 8 8 0 0 0 0-16zM12 8v4l3 2',
    hide: 'M4 4l16 16M9.5 6.3A9 9 0 0 1 21 12a13 13 0 0 1-2.4 3M6 8a13 13 0 0 0-3 4 9.5 9.5 0 0 0 12 5',
    help: 'M12 4a8 8 0 1 0 0 16 8 8 0 0 0 0-16zM9.7 10a2.3 2.3 0 1 1 3.4 2c-.8.4-1.1.9-1.1 1.600M12 16.500h.01',
    copy: 'M9 9h11v11H9zM5 15H4V4h11v1',
    restore: 'M5 12a7 7 0 1 0 2.5-5.400M5 4v4h4',
    star: 'M12 4l2.5 5.2 5.5.8-4 4 1 5.6-5-2.7-5 2.7 1-5.6-4-4 5.5-.8z',
    warning: 'M12 4 2.5 20h19zM12 10v4M12 17h.01',
    people: 'M9 5a3 3 0 1 0 0 6 3 3 0 0 0 0-6zM3 19c0-3 2.5-5 6-5s6 2 6 5M16 6a2.5 2.5 0 1 1 0 5M17 14c2.5.3 4 2 4 4.5',
    minus: 'M5 12h14',
};

export function icon(name) {
    const space = 'http://www.w3.org/2000/svg';
    const svg = document.createElementNS(space, 'svg');
    svg.setAttribute('viewBox', '0 0 24 24');
    svg.setAttribute('aria-hidden', 'true');
    svg.setAttribute('class', `icon icon-${name}`);
    const path = document.createElementNS(space, 'path');
    path.setAttribute('d', paths[name]);
    svg.append(path);
    return svg;
}

/** A picture that is fetched when it comes near the window. It has the class `loaded` once it is there. */
export function lazyImage(src, onError) {
    const image = el('img', {alt: '', loading: 'lazy', decoding: 'async', src});
    image.addEventListener('load', () => image.classList.add('loaded'));
    if (onError)
        image.addEventListener('error', onError);
    return image;
}

/** A button that shows an icon and is named by a text, which also is its tooltip. */
export function iconButton(name, text, press, properties = {}) {
    return el('button', {type: 'button', class: 'icon-button', 'aria-label': text, title: text, on: {click: press},
                         ...properties}, icon(name));
}

export function textButton(text, press, properties = {}) {
    return el('button', {type: 'button', class: 'button', on: {click: press}, ...properties}, text);
}

/** A function that calls `work` once it has not been called again for that number of milliseconds. */
export function debounced(work, milliseconds) {
    let timer = 0;
    const later = (...values) => {
        clearTimeout(timer);
        timer = setTimeout(() => work(...values), milliseconds);
    };
    later.cancel = () => clearTimeout(timer);
    return later;
}

export const clamp = (value, least, most) => Math.min(Math.max(value, least), most);

/** Whether a key press belongs to a field that takes text. */
export function isTyping(event) {
    return event.target.closest?.('input:not([type=radio]):not([type=checkbox]), textarea, select') !== null;
}

export const isRightToLeft = () => document.documentElement.dir === 'rtl';

export const prefersCalm = () => matchMedia('(prefers-reduced-motion: reduce)').matches;
