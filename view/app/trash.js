// What was deleted and is still there.

import * as api from './api.js';
import * as actions from './actions.js';
import {confirm} from './dialogs.js';
import {el, icon, textButton} from './dom.js';
import {moment, t} from './texts.js';

export class TrashPage {
    #next;
    #turn = 0;
    #chosen = new Set();

    constructor(isFixed) {
        this.isFixed = isFixed;
        this.list = el('ul', {class: 'trash'});
        this.end = el('div', {});
        this.note = el('p', {class: 'quiet-text'});
        this.restore = textButton(t('restore'), () => this.#restore(), {class: 'button primary'});
        this.deletion = textButton(t('delete.forever'), () => this.#delete(), {class: 'button danger'});
        this.emptying = textButton(t('trash.empty'), () => this.#empty(), {class: 'button'});
        this.element = el('div', {class: 'page'}, el('div', {class: 'page-head'}, el('h1', {}, t('trash')),
            ...(isFixed ? [] : [this.restore, this.deletion, this.emptying])), this.note, this.list, this.end);
        new IntersectionObserver((entries) => {
            if (entries.some(({isIntersecting}) => isIntersecting))
                this.#more();
        }, {rootMargin: '800px'}).observe(this.end);
    }

    async show() {
        this.#turn += 1;
        this.#chosen.clear();
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
            answer = await api.get('/api/trash', {cursor});
        } catch (error) {
            actions.fail(error);
            return;
        }
        if (turn !== this.#turn)
            return;
        this.#next = answer.next;
        this.list.append(...answer.assets.map((asset) => this.#item(asset)));
        this.#tell();
        if (this.#next !== undefined && this.end.getBoundingClientRect().top < innerHeight + 800)
            this.#more();
    }

    #item(asset) {
        const image = el('img', {alt: '', loading: 'lazy', decoding: 'async', src: api.media(asset, 'small')});
        image.addEventListener('load', () => image.classList.add('loaded'));
        image.addEventListener('error', () => image.replaceWith(icon(asset.kind === 'video' ? 'play' : 'photos')));
        const input = el('input', {type: 'checkbox', disabled: this.isFixed, 'aria-label': asset.name, on: {change: () => {
            if (input.checked)
                this.#chosen.add(asset.id);
            else
                this.#chosen.delete(asset.id);
            this.#tell();
        }}});
        return el('li', {}, el('label', {}, input, el('span', {class: 'trash-picture'}, image,
            el('span', {class: 'pick'}, icon('check'))), el('span', {class: 'trash-name'}, asset.name),
            el('span', {class: 'quiet-text'}, moment(asset.trashed))));
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
            await this.show();
    }

    async #delete() {
        const ids = [...this.#chosen];
        if (!await confirm(t('delete.forever'), t('delete.forever.question', {n: ids.length}), t('delete.forever')))
            return;
        await api.postInParts('/api/trash/delete', ids).catch(actions.fail);
        await this.show();
    }

    async #empty() {
        if (!await confirm(t('trash.empty'), t('trash.empty.question'), t('trash.empty')))
            return;
        await api.post('/api/trash/empty').catch(actions.fail);
        await this.show();
    }
}
