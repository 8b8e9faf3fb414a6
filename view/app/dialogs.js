// Questions in a dialog.

import {el} from './dom.js';
import {t} from './texts.js';

/** Shows a dialog until a button ends it; the value of that button, or null. */
function show(title, content, buttons) {
    return new Promise((resolve) => {
        const form = el('form', {method: 'dialog'}, el('h2', {}, title), ...content,
            el('div', {class: 'dialog-buttons'}, ...buttons.map(({text, value, kind}) =>
                el('button', {class: `button ${kind ?? ''}`, value, formnovalidate: value === 'cancel',
                              type: value === 'cancel' ? 'button' : 'submit'}, text))));
        const dialog = el('dialog', {'aria-label': title}, form);
        form.querySelector('[value=cancel]')?.addEventListener('click', () => dialog.close(''));
        dialog.addEventListener('close', () => {
            dialog.remove();
            resolve(dialog.returnValue || null);
        });
        dialog.addEventListener('click', (event) => {
            if (event.target === dialog)
                dialog.close('');
        });
        // The keys of the page don't apply in a dialog.
        dialog.addEventListener('keydown', (event) => event.stopPropagation());
        document.body.append(dialog);
        dialog.showModal();
    });
}

const cancel = () => ({text: t('cancel'), value: 'cancel', kind: 'quiet'});

export async function confirm(title, text, button) {
    return await show(title, [el('p', {}, text)], [cancel(), {text: button, value: 'yes', kind: 'danger'}]) === 'yes';
}

/** A text, or null. */
export async function askText(title, label, button, value = '') {
    const input = el('input', {type: 'text', required: true, maxlength: '200', autofocus: true});
    input.value = value;
    const answer = await show(title, [el('label', {class: 'field'}, el('span', {}, label), input)],
                              [cancel(), {text: button, value: 'yes', kind: 'primary'}]);
    return answer === 'yes' ? input.value.trim() || null : null;
}

/** The seconds by which dates are to be shifted, or null. */
export async function askShift() {
    const units = {days: 86_400, hours: 3600, minutes: 60};
    const inputs = Object.keys(units).map((unit) =>
        [unit, el('input', {type: 'number', value: '0', step: '1', name: unit})]);
    const answer = await show(t('shift.title'), [
        el('p', {}, t('shift.hint')),
        el('div', {class: 'field-row'}, ...inputs.map(([unit, input]) =>
            el('label', {class: 'field'}, el('span', {}, t(`shift.${unit}`)), input))),
    ], [cancel(), {text: t('shift.do'), value: 'yes', kind: 'primary'}]);
    if (answer !== 'yes')
        return null;
    const seconds = inputs.reduce((sum, [unit, input]) => sum + units[unit] * Math.trunc(Number(input.value) || 0), 0);
    return seconds || null;
}

/** Which of several things is chosen: its value, or null. Each is {value, text, isFirst}. */
const choose = (title, choices) => show(title, [el('div', {class: 'choices'}, ...choices.map(({value, text, isFirst}) =>
    el('button', {class: isFirst ? 'button choice accent' : 'button choice', value}, text)))], [cancel()]);

/** The ID of an album, "new" for one that is to be made, or null. */
export const askAlbum = (albums) => choose(t('album.add'), [
    {value: 'new', text: t('album.new'), isFirst: true},
    ...albums.map(({id, title}) => ({value: id, text: title}))]);

/** "original", "edited" or null. */
export const askVersion = () => choose(t('download'), ['original', 'edited'].map((value) =>
    ({value, text: t(`download.${value}`)})));

export function showHelp(isFixed) {
    const change = isFixed ? [] : [['Delete', 'key.delete'], ['[ ]', 'key.turn'], ['f', 'key.favourite']];
    const keys = [['← ↑ → ↓', 'key.move'], ['Enter', 'key.open'], ['Space', 'key.select'],
                  ['Shift + ← →', 'key.extend'], ['Ctrl + A', 'key.all'], ['Esc', 'key.back'], ['/', 'key.search'],
                  ['Home End', 'key.ends'], ['+ − 0', 'key.zoom'], ['i', 'key.facts'], ['c', 'key.compare'], ...change,
                  ['?', 'key.help']];
    return show(t('help'), [el('dl', {class: 'keys'}, ...keys.map(([key, text]) =>
        el('div', {}, el('dt', {}, el('kbd', {}, key)), el('dd', {}, t(text)))))],
                [{text: t('close'), value: 'yes', kind: 'primary'}]);
}
