// What was deleted and is still there.

import * as api from './api.js';
import * as actions from './actions.js';
import {confirm} from './dialogs.js';
import {el, icon, lazyImage, textButton} from './dom.js';
import {Paging} from './paging.js';
import {moment, t} from './texts.js';

export class TrashPage {
    #chosen = new Set();

    constructor(isFixed) {
        this.isFixed = isFixed;
        this.list = el('ul', {class: 'trash'});
        this.paging = new Paging('/api/trash', this.list, {
            entriesOf: ({assets}) => assets, make: (asset) => this.#item(asset), onPart: () => this.#tell()});
        this.note = el('p', {class: 'quiet-text'});
        this.restore = textButton(t('restore'), () => this.#restore(), {class: 'button primary'});
        this.deletion = textButton(t('delete.forever'), () => this.#delete(), {class: 'button danger'});
        this.emptying = textButton(t('trash.empty'), () => this.#empty(), {class: 'button'});
        this.element = el('div', {class: 'page'}, el('div', {class: 'page-head'}, el('h1', {}, t('trash')),
            ...(isFixed ? [] : [this.restore, this.deletion, this.emptying])), this.note, this.list,
            this.paging.end);
    }

    async show() {
        this.#chosen.clear();
        await this.paging.restart();
    }

    /** Shows what has changed; what is chosen and still there stays chosen. */
    async refresh() {
        await this.paging.refresh();
        const there = new Set([...this.list.children].map(({asset}) => asset.id));
        for (const id of this.#chosen)
            if (!there.has(id))
                this.#chosen.delete(id);
        this.#tell();
    }

    #item(asset) {
        const image = lazyImage(api.media(asset, 'small'),
                                () => image.replaceWith(icon(asset.kind === 'video' ? 'play' : 'photos')));
        const choose = () => {
            if (input.checked)
                this.#chosen.add(asset.id);
            else
                this.#chosen.delete(asset.id);
            this.#tell();
        };
        const input = el('input', {type: 'checkbox', checked: this.#chosen.has(asset.id), disabled: this.isFixed,
                                   'aria-label': asset.name, on: {change: choose}});
        const pick = this.isFixed ? null : el('span', {class: 'pick'}, icon('check'));
        const item = el('li', {}, el('label', {}, input, el('span', {class: 'trash-picture'}, image, pick),
            el('span', {class: 'trash-name'}, asset.name), el('span', {class: 'quiet-text'}, moment(asset.trashed))));
        item.asset = asset;
        return item;
    }

    #tell() {
        const isEmpty = this.list.childElementCount === 0;
        this.note.textContent = t(isEmpty ? 'trash.none' : 'trash.hint');
        this.emptying.hidden = isEmpty || this.#chosen.size > 0;
        for (const button of [this.restore, this.deletion])
            button.hidden = this.#chosen.size === 0;
    }

    async #restore() {
        if (await actions.restore([...this.#chosen]))
            await this.refresh();
    }

    async #delete() {
        const ids = [...this.#chosen];
        if (!await confirm(t('delete.forever'), t('delete.forever.question', {n: ids.length}), t('delete.forever')))
            return;
        await api.postInParts('/api/trash/delete', ids).catch(actions.fail);
        await this.refresh();
    }

    async #empty() {
        if (!await confirm(t('trash.empty'), t('trash.empty.question'), t('trash.empty')))
            return;
        await api.post('/api/trash/empty').catch(actions.fail);
        await this.refresh();
    }
}
