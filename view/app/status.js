// Short messages, with an action where there is one, and the line that says when the library can't be reached.

import {el, icon, iconButton, textButton} from './dom.js';
import {t} from './texts.js';

const toasts = el('div', {class: 'toasts', role: 'status', 'aria-live': 'polite'});
const banner = el('div', {class: 'banner', role: 'alert', hidden: true});
export const statusElements = [banner, toasts];

const shownFor = 7000;

/** Says something for a while. `action` is {text, press}. */
export function say(text, action = null) {
    const toast = el('div', {class: 'toast'}, el('span', {}, text));
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

/** What went wrong, for people: the server's text where there is one. */
export function explain(error) {
    const known = ['noServer', 'unreachable', 'restarting', 'busy', 'timedOut', 'denied', 'readOnly', 'full',
                   'notFound', 'exists'];
    const own = known.includes(error.code) ? t(`error.${error.code}`) : t('error.failed');
    return error.message && error.code !== 'noServer' ? error.message : own;
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
