// The panel of facts beside a large picture, and what can be set there.

import {el, icon, iconButton} from './dom.js';
import {addressOf} from './route.js';
import {said} from './status.js';
import {bytes, leftToRight, moment, number, pixels, place, plainNumber, t} from './texts.js';

function exposure({exposureSeconds, aperture, isoSpeed, focalLength}) {
    const parts = [];
    if (exposureSeconds > 0)
        parts.push(exposureSeconds < 0.3 ? `1/${plainNumber(Math.round(1 / exposureSeconds))} s` :
            `${number(exposureSeconds)} s`);
    if (aperture)
        parts.push(`f/${number(aperture)}`);
    if (isoSpeed)
        parts.push(`ISO ${isoSpeed}`);
    if (focalLength)
        parts.push(`${number(focalLength)} mm`);
    return parts.length > 0 ? leftToRight(parts.join('   ')) : '';
}

function fact(name, ...content) {
    return content.some(Boolean) ? el('div', {class: 'fact'}, el('dt', {}, name), el('dd', {}, ...content)) : null;
}

function rating(asset, isFixed, onSet) {
    const chosen = asset.rating ?? 0;
    const stars = [1, 2, 3, 4, 5].map((stars) => {
        const input = el('input', {type: 'radio', name: 'rating', value: stars, disabled: isFixed,
                                   'aria-label': t('rating.stars', {n: stars})});
        input.checked = chosen === stars;
        input.addEventListener('change', () => onSet(stars));
        return el('label', {class: stars <= chosen ? 'star lit' : 'star'}, input, icon('star'));
    });
    const none = chosen > 0 && !isFixed ?
        iconButton('close', t('rating.none'), () => onSet(0), {class: 'icon-button small'}) : null;
    return el('fieldset', {class: 'rating'}, el('legend', {}, t('rating')),
              el('div', {class: 'stars'}, ...stars, none));
}

/** Fills the panel. `onSet` gets details that were changed, `onCopy` a text; with `isFixed` nothing can be set. */
export function showFacts(panel, asset, {isFixed, onSet, onCopy}) {
    const field = (key, value, input) => {
        input.value = value;
        input.disabled = isFixed;
        input.addEventListener('change', () => onSet({[key]: key === 'keywords' ?
            input.value.split(/[,،、]/).map((word) => word.trim()).filter(Boolean) : input.value.trim()}));
        return el('label', {class: 'field'}, el('span', {}, t(key)), input);
    };
    const hint = (key) => isFixed ? '' : t(key);
    const search = (query, text, title) => el('a', {href: addressOf({name: 'photos', query}), title}, text);
    const where = asset.place;
    const coordinates = where ? `${where.latitude.toFixed(5)},${where.longitude.toFixed(5)}` : '';
    panel.replaceChildren(
        el('h2', {}, asset.name),
        el('p', {class: 'facts-date'}, moment(asset.created)),
        field('caption', asset.caption ?? '', el('textarea', {rows: '2', placeholder: hint('caption.hint')})),
        field('keywords', (asset.keywords ?? []).join(', '),
              el('input', {type: 'text', placeholder: hint('keywords.hint')})),
        rating(asset, isFixed, (stars) => onSet({rating: stars})),
        el('dl', {},
            fact(t('fact.problem'), asset.problem && said('span', asset.problem)),
            fact(t('fact.camera'),
                 asset.camera && search(`camera:"${asset.camera}"`, asset.camera, t('fact.same'))),
            fact(t('fact.lens'), asset.lens),
            fact(t('fact.exposure'), exposure(asset)),
            fact(t('fact.place'), ...(where ? [
                search(`near:${coordinates}`, place(where, 4), t('fact.near')),
                iconButton('copy', t('copy.place'), () => onCopy(coordinates), {class: 'icon-button small'})] : [])),
            fact(t('fact.size'), [asset.width ? pixels(asset) : '',
                                  asset.bytes ? bytes(asset.bytes) : ''].filter(Boolean).join('   ')),
            fact(t('fact.format'), asset.format),
            fact(t('fact.file'), asset.path && el('span', {class: 'path'}, asset.path)),
            fact(t('albums'), ...(asset.albums ?? []).map(({id, title}) =>
                el('a', {class: 'album-link', href: addressOf({name: 'album', id})}, title)))));
}
