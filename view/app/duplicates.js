// Groups of duplicates side by side, and what is kept of them.

import * as api from './api.js';
import * as actions from './actions.js';
import {el, lazyImage, textButton} from './dom.js';
import {Paging} from './paging.js';
import {bytes, exactBytes, moment, pixels, t} from './texts.js';

const lookAgainAfter = 3000;

/** What the assets of a group differ in. */
function differences(assets) {
    const differs = (value) => new Set(assets.map(value)).size > 1;
    return {name: differs(({name}) => name), size: differs(({width, height}) => `${width} ${height}`),
            bytes: differs((asset) => asset.bytes), created: differs(({created}) => created)};
}

/** Gives the text of an asset's bytes: exact ones where rounded ones would not tell all assets apart. */
function sizeText(assets) {
    const exact = new Set(assets.map((asset) => asset.bytes));
    const rounded = new Set(assets.map((asset) => bytes(asset.bytes)));
    return (asset) => (rounded.size < exact.size ? exactBytes : bytes)(asset.bytes);
}

export class DuplicatesPage {
    /** Whether the library has compared everything. */
    #isSearched = true;
    #timer = 0;

    constructor(isFixed) {
        this.isFixed = isFixed;
        this.list = el('div', {class: 'groups', on: {keydown: (event) => this.#key(event)}});
        this.paging = new Paging('/api/duplicates', this.list, {
            entriesOf: ({groups}) => groups,
            make: (group) => this.#group(group),
            onPart: ({isComplete}) => {
                this.#isSearched = isComplete;
                this.#tell();
                this.#lookAgain();
            },
        });
        this.note = el('p', {class: 'quiet-text'});
        this.element = el('div', {class: 'page'}, el('div', {class: 'page-head'}, el('h1', {}, t('duplicates'))),
                          this.note, this.list, this.paging.end);
    }

    async show() {
        await this.paging.restart();
    }

    /** Shows what has changed. */
    async refresh() {
        const focused = this.list.contains(document.activeElement) ? document.activeElement.closest('.group') : null;
        const place = [...this.list.children].indexOf(focused);
        await this.paging.refresh();
        if (focused && !focused.isConnected)
            (this.list.children[place] ?? this.list.lastElementChild)?.focus();
    }

    /** Nothing says that the library has compared what has changed. */
    #lookAgain() {
        clearTimeout(this.#timer);
        if (!this.#isSearched && this.element.isConnected)
            this.#timer = setTimeout(() => this.refresh().catch(() => this.#lookAgain()), lookAgainAfter);
    }

    #tell() {
        const isEmpty = this.list.childElementCount === 0 && this.paging.isComplete;
        this.note.textContent = isEmpty ? t(this.#isSearched ? 'duplicates.none' : 'duplicates.searching') :
            this.isFixed ? '' : t('duplicates.hint');
        this.note.classList.toggle('key-hint', !isEmpty);
    }

    #group({assets, likeness, count, others = []}) {
        const differs = differences(assets);
        const sizeOf = sizeText(assets);
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
                value(differs.bytes, sizeOf(asset)),
                value(differs.created, moment(asset.created))),
            keep(asset, index)));
        const dismiss = this.isFixed ? null :
            textButton(t('duplicates.dismiss'), () => this.#dismiss(group), {class: 'button quiet'});
        const group = el('section', {class: 'group', tabindex: '0',
                                     'aria-label': t('duplicates.group', {n: count})},
            el('p', {class: 'quiet-text'}, t(likeness === 'same' ? 'likeness.same' : 'likeness.similar')),
            el('div', {class: 'candidates'}, ...candidates),
            others.length > 0 ? el('p', {class: 'quiet-text'}, t('duplicates.others', {n: others.length})) : null,
            dismiss);
        group.assets = assets;
        group.ids = [...assets.map(({id}) => id), ...others];
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
        const others = group.ids.filter((each) => each !== id);
        const deleted = await actions.remove(others);
        if (deleted?.length === others.length)
            this.#leave(group);
    }

    async #dismiss(group) {
        try {
            await api.post('/api/duplicates/dismiss', {ids: group.ids});
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
