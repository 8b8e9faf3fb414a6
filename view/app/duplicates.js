// Groups of duplicates side by side, and what is kept of them.

import * as api from './api.js';
import * as actions from './actions.js';
import {el, textButton} from './dom.js';
import {bytes, moment, number, t} from './texts.js';

/** What the assets of a group differ in. */
export function differences(assets) {
    const differs = (value) => new Set(assets.map(value)).size > 1;
    return {name: differs(({name}) => name), size: differs(({width, height}) => `${width} ${height}`),
            bytes: differs((asset) => asset.bytes), created: differs(({created}) => created)};
}

export class DuplicatesPage {
    #next;
    #turn = 0;

    constructor(isFixed) {
        this.isFixed = isFixed;
        this.list = el('div', {class: 'groups', on: {keydown: (event) => this.#key(event)}});
        this.end = el('div', {class: 'groups-end'});
        this.note = el('p', {class: 'quiet-text'});
        this.element = el('div', {class: 'page'}, el('div', {class: 'page-head'}, el('h1', {}, t('duplicates'))),
                          this.note, this.list, this.end);
        new IntersectionObserver((entries) => {
            if (entries.some(({isIntersecting}) => isIntersecting))
                this.#more();
        }, {rootMargin: '800px'}).observe(this.end);
    }

    async show() {
        this.#turn += 1;
        this.list.replaceChildren();
        this.#next = '';
        await this.#more();
    }

    async #more() {
        if (this.#next === undefined)
            return;
        const cursor = this.#next;
        const turn = this.#turn;
        this.#next = undefined;
        let answer;
        try {
            answer = await api.get('/api/duplicates', {cursor});
        } catch (error) {
            actions.fail(error);
            return;
        }
        if (turn !== this.#turn)
            return;
        this.#next = answer.next;
        this.list.append(...answer.groups.filter(({assets}) => assets.length > 1).map(({assets}) => this.#group(assets)));
        this.#tell(answer.isComplete);
    }

    #tell(isComplete = true) {
        const isEmpty = this.list.childElementCount === 0 && this.#next === undefined;
        this.note.textContent = isEmpty ? t(isComplete ? 'duplicates.none' : 'duplicates.searching') :
            this.isFixed ? '' : t('duplicates.hint');
        this.note.classList.toggle('key-hint', !isEmpty);
        // Whatever room is left is filled.
        if (!isEmpty && this.#next !== undefined && this.end.getBoundingClientRect().top < innerHeight + 800)
            this.#more();
    }

    #group(assets) {
        const differs = differences(assets);
        const best = Math.max(0, assets.findIndex((asset) => asset.best));
        const value = (isOther, text) => el('span', {class: isOther ? 'differs' : ''}, text);
        const candidates = assets.map((asset, index) => {
            const image = el('img', {alt: '', loading: 'lazy', decoding: 'async', src: api.media(asset, 'preview')});
            image.addEventListener('load', () => image.classList.add('loaded'));
            return el('div', {class: 'candidate', data: {id: asset.id}},
                el('a', {class: 'candidate-picture', href: `#/duplicates?open=${asset.id}`, tabindex: '-1',
                         'aria-label': t('open.name', {name: asset.name})}, image),
                el('div', {class: 'candidate-facts'},
                    value(differs.name, asset.name),
                    value(differs.size, `\u2066${number(asset.width)} × ${number(asset.height)}\u2069`),
                    value(differs.bytes, bytes(asset.bytes)),
                    value(differs.created, moment(asset.created))),
                this.isFixed ? null : textButton(t('keep.this'), () => this.#keep(group, asset.id),
                    {class: index === best ? 'button primary' : 'button', 'aria-keyshortcuts': String(index + 1)}));
        });
        const group = el('section', {class: 'group', tabindex: '0',
                                     'aria-label': t('duplicates.group', {n: assets.length})},
            el('div', {class: 'candidates'}, ...candidates),
            this.isFixed ? null : textButton(t('duplicates.dismiss'), () => this.#dismiss(group), {class: 'button quiet'}));
        group.assets = assets;
        group.best = assets[best].id;
        return group;
    }

    #leave(group) {
        const near = group.nextElementSibling ?? group.previousElementSibling;
        group.remove();
        near?.focus();
        near?.scrollIntoView({block: 'nearest'});
        this.#tell();
    }

    async #keep(group, id) {
        const others = group.assets.map((asset) => asset.id).filter((each) => each !== id);
        const deleted = await actions.remove(others);
        if (deleted?.length === others.length)
            this.#leave(group);
    }

    async #dismiss(group) {
        try {
            await api.post('/api/duplicates/dismiss', {ids: group.assets.map(({id}) => id)});
        } catch (error) {
            actions.fail(error);
            return;
        }
        actions.say(t('duplicates.dismissed'));
        this.#leave(group);
    }

    #key(event) {
        const group = event.target.closest('.group');
        if (!group || event.ctrlKey || event.metaKey || event.altKey)
            return;
        const {key} = event;
        if (key === 'ArrowDown' || key === 'ArrowUp') {
            const to = key === 'ArrowDown' ? group.nextElementSibling : group.previousElementSibling;
            to?.focus();
        } else if (this.isFixed) {
            return;
        } else if (key === 'k') {
            this.#keep(group, group.best);
        } else if (key === 'n') {
            this.#dismiss(group);
        } else if (/^[1-9]$/.test(key) && group.assets[Number(key) - 1]) {
            this.#keep(group, group.assets[Number(key) - 1].id);
        } else {
            return;
        }
        event.preventDefault();
        event.stopPropagation();
    }
}
