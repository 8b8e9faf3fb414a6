// Short messages, with an action where there is one, and the line that says when the library can't be reached.

import {el, icon, iconButton, textButton} from './dom.js';
import {t, translation} from './texts.js';

const toasts = el('div', {class: 'toasts', role: 'status', 'aria-live': 'polite'});
const banner = el('div', {class: 'banner', role: 'alert', hidden: true});
export const statusElements = [banner, toasts];

const shownFor = 7000;

/** Says something for a while. `content` is a text, or what an element has; `action` is {text, press}. */
export function say(content, action = null) {
    const toast = el('div', {class: 'toast'}, el('span', {}, content));
    let timer = 0;
    const remove = () => {
        clearTimeout(timer);
        toast.remove();
    };
    const wait = () => {
        clearTimeout(timer);
        timer = setTimeout(remove, shownFor);
    };
    if (action)
        toast.append(textButton(action.text, () => {
            remove();
            action.press();
        }, {class: 'button toast-action'}));
    toast.append(iconButton('close', t('close'), remove, {class: 'icon-button small'}));
    // It stays while it is pointed at or has the focus.
    for (const event of ['pointerenter', 'focusin'])
        toast.addEventListener(event, () => clearTimeout(timer));
    for (const event of ['pointerleave', 'focusout'])
        toast.addEventListener(event, wait);
    wait();
    toasts.append(toast);
    while (toasts.childElementCount > 3)
        toasts.firstElementChild.remove();
}

const explained = ['noServer', 'unreachable', 'restarting', 'busy', 'timedOut', 'denied', 'readOnly', 'full',
                   'notFound', 'exists', 'failed'];

/** What the server says, which is English unless it is translated. */
export function said(tag, text, attributes = {}) {
    const translated = translation(text);
    return el(tag, translated ? attributes : {...attributes, lang: 'en', dir: 'ltr'}, translated ?? text);
}

/** The same below a text of the page. */
export const detail = (text) => (text ? said('small', text, {class: 'detail'}) : null);

/** What went wrong, for people: the content of an element. */
export function explain({code, message}) {
    if (explained.includes(code))
        return [t(`error.${code}`), detail(message)];
    return [message ? said('span', message) : t('error.failed')];
}

export function fail(error) {
    if (error.name !== 'AbortError')
        say(explain(error));
}

/** Shows, until it is called with null, why the library can't be reached. */
export function showAway(error) {
    banner.hidden = error === null;
    if (error === null)
        return;
    const key = error.code === 'noServer' ? 'away.server' : error.code === 'denied' ? 'away.denied' : 'away.daemon';
    if (banner.dataset.key === key && banner.childElementCount > 0)
        return;
    banner.dataset.key = key;
    banner.replaceChildren(icon('warning'), el('span', {}, t(key)));
}
