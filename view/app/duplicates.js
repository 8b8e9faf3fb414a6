// Groups of duplicates side by side, and what is kept of them.

import * as api from './api.js';
import * as actions from './actions.js';
import {el, lazyImage, textButton} from './dom.js';
import {Paging} from './paging.js';
import {bytes, moment, pixels, t} from './texts.js';

/** What the assets of a group differ in. */
function differences(assets) {
    const differs = (value) => new Set(assets.map(value)).size > 1;
    return {name: differs(({name}) => name), size: differs(({width, height}) => `${width} ${height}`),
            bytes: differs((asset) => asset.bytes), created: differs(({created}) => created)};
}

export class DuplicatesPage {
    /** Whether the library has compared everything. */
    #isSearched = true;

    constructor(isFixed) {
        this.isFixed = isFixed;
        this.list = el('div', {class: 'groups', on: {keydown: (event) => this.#key(event)}});
        this.paging = new Paging('/api/duplicates', ({groups, isComplete}) => {
            this.list.append(...groups.filter(({assets}) => assets.length > 1).map(({assets}) => this.#group(assets)));
            this.#isSearched = isComplete;
            this.#tell();
        });
        this.note = el('p', {class: 'quiet-text'});
        this.element = el('div', {class: 'page'}, el('div', {class: 'page-head'}, el('h1', {}, t('duplicates'))),
                          this.note, this.list, this.paging.end);
    }

    async show() {
        this.list.replaceChildren();
        await this.paging.restart();
    }

    #tell() {
        const isEmpty = this.list.childElementCount === 0 && this.paging.isComplete;
        this.note.textContent = isEmpty ? t(this.#isSearched ? 'duplicates.none' : 'duplicates.searching') :
            this.isFixed ? '' : t('duplicates.hint');
        this.note.classList.toggle('key-hint', !isEmpty);
    }

    #group(assets) {
        const differs = differences(assets);
        const best = Math.max(0, assets.findIndex((asset) => asset.best));
        const value = (isOther, text) => el('span', {class: isOther ? 'differs' : ''}, text);
        const keep = (asset, index) => this.isFixed ? null :
            textButton(t('keep.this'), () => this.#keep(group, asset.id),
                       {class: index === best ? 'button primary' : 'button', 'aria-keyshortcuts': String(index + 1)});
        const candidates = assets.map((asset, index) => el('div', {class: 'candidate', data: {id: asset.id}},
            el('a', {class: 'candidate-picture', href: `#/duplicates?open=${asset.id}`, tabindex: '-1',
                     'aria-label': t('open.name', {name: asset.name})}, lazyImage(api.media(asset, 'preview'))),
            el('div', {class: 'candidate-facts'},
                value(differs.name, asset.name),
                value(differs.size, pixels(asset)),
                value(differs.bytes, bytes(asset.bytes)),
                value(differs.created, moment(asset.created))),
            keep(asset, index)));
        const dismiss = this.isFixed ? null :
            textButton(t('duplicates.dismiss'), () => this.#dismiss(group), {class: 'button quiet'});
        const group = el('section', {class: 'group', tabindex: '0',
                                     'aria-label': t('duplicates.group', {n: assets.length})},
            el('div', {class: 'candidates'}, ...candidates), dismiss);
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
        this.paging.fill();
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
