// The elements that show assets in a grid. One that leaves the window shows another asset later.

import {media} from './api.js';
import {el, icon} from './dom.js';
import {duration, t} from './texts.js';

const smallSide = 256;
const retries = [1000, 4000];
const mostSharpening = 4;

export function newCell() {
    const cell = el('div', {class: 'cell', role: 'gridcell', tabindex: '-1', draggable: 'true'},
                    el('span', {class: 'pick'}, icon('check')));
    cell.shown = '';
    return cell;
}

function setPicture(cell, asset) {
    const image = el('img', {alt: '', draggable: 'false', decoding: 'async'});
    let failures = 0;
    image.addEventListener('load', () => {
        image.classList.add('loaded');
        cell.classList.remove('broken');
    }, {once: true});
    image.addEventListener('error', () => {
        if (cell.picture !== image)
            return;
        cell.classList.add('broken');
        // The library may just have been busy or away.
        if (failures < retries.length)
            setTimeout(() => {
                if (cell.picture === image)
                    image.src = media(asset, 'small');
            }, retries[failures]);
        failures += 1;
    });
    cell.classList.remove('broken');
    if (cell.picture)
        forgetPicture(cell.picture);
    cell.picture = image;
    cell.isSharp = false;
    cell.prepend(image);
    image.src = media(asset, 'small');
}

function forgetPicture(image) {
    // Stops what is still being fetched.
    image.removeAttribute('src');
    image.remove();
}

function mark(cell, name, make) {
    const old = cell.querySelector(`.mark-${name}`);
    if (!make) {
        old?.remove();
        return;
    }
    const text = make();
    if (old && old.dataset.text === text)
        return;
    old?.remove();
    const isDuration = name === 'video';
    cell.append(el('span', {class: `mark mark-${name}`, data: {text}},
                   icon(isDuration ? 'play' : name), isDuration ? text : null));
}

/** Shows an asset, or an empty place while it is not known. `withPicture` is false during fast scrolling. */
export function bindCell(cell, asset, withPicture) {
    cell.asset = asset ?? null;
    if (!asset) {
        clearCell(cell);
        return;
    }
    const shown = `${asset.id} ${asset.v}`;
    if (withPicture && cell.shown !== shown) {
        cell.shown = shown;
        setPicture(cell, asset);
    } else if (!withPicture && cell.shown !== shown && cell.shown) {
        clearCell(cell);
        cell.asset = asset;
    }
    mark(cell, 'video', asset.kind === 'video' ? () => duration(asset.duration ?? 0) : null);
    mark(cell, 'heart', asset.favourite ? () => '1' : null);
    mark(cell, 'warning', asset.problem ? () => '1' : null);
}

export function clearCell(cell) {
    if (cell.picture)
        forgetPicture(cell.picture);
    cell.picture = null;
    cell.shown = '';
    cell.asset = null;
    cell.classList.remove('broken');
    for (const old of cell.querySelectorAll('.mark'))
        old.remove();
}

/** What screen readers say of an asset. */
export function cellName(asset, dayText, position, count) {
    const kind = t(asset?.kind === 'video' ? 'kind.video' : 'kind.photo');
    const name = t('cell.name', {kind, day: dayText, position, count});
    return asset?.favourite ? `${name}, ${t('favourite')}` : name;
}

/** Replaces small pictures by sharper ones, some at a time, where they are shown larger than they are. */
export class Sharpener {
    #queue = [];
    #running = new Set();

    /** The cells in view; others are given up. */
    look(cells) {
        this.stop();
        this.#queue = cells.filter((cell) => cell.shown && !cell.isSharp &&
            Math.max(cell.offsetWidth, cell.offsetHeight) * devicePixelRatio > smallSide);
        while (this.#running.size < mostSharpening && this.#queue.length > 0)
            this.#next();
    }

    stop() {
        this.#queue = [];
        for (const image of this.#running)
            image.removeAttribute('src');
        this.#running.clear();
    }

    async #next() {
        let cell = this.#queue.shift();
        while (cell && !cell.shown) // it left the window while it waited
            cell = this.#queue.shift();
        if (!cell)
            return;
        const {shown, asset} = cell;
        const image = el('img', {alt: '', draggable: 'false', class: 'loaded'});
        this.#running.add(image);
        image.src = media(asset, 'preview');
        try {
            await image.decode();
            if (this.#running.has(image) && cell.shown === shown) {
                cell.picture.replaceWith(image);
                cell.picture = image;
                cell.isSharp = true;
            }
        } catch {
            // The small one stays.
        }
        if (this.#running.delete(image) && this.#queue.length > 0)
            this.#next();
    }
}
