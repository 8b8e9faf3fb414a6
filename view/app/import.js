// Importing files and folders that are dropped on the page or chosen.

import * as api from './api.js';
import {el, iconButton} from './dom.js';
import {explain, fail} from './status.js';
import {bytes, t} from './texts.js';

const mostAtOnce = 2;
const mostRefusals = 200;

/** All files of what was dropped, those of folders included. */
async function filesOf(transfer) {
    // The entries are gone when the event is over.
    const entries = [...transfer.items].map((item) => item.webkitGetAsEntry?.()).filter(Boolean);
    if (entries.length === 0)
        return [...transfer.files];
    const files = [];
    const walk = async (entry) => {
        if (entry.isFile) {
            files.push(await new Promise((resolve, reject) => entry.file(resolve, reject)));
            return;
        }
        const reader = entry.createReader();
        for (;;) {
            const part = await new Promise((resolve, reject) => reader.readEntries(resolve, reject));
            if (part.length === 0)
                return;
            for (const each of part)
                await walk(each);
        }
    };
    for (const entry of entries)
        await walk(entry);
    return files.filter(({name}) => !name.startsWith('.'));
}

/** Imports files, a few at a time, and shows how far it is. Emits `imported` when one is in the library. */
export class Import extends EventTarget {
    #queue = [];
    #sent = new Map();
    #running = 0;
    #total = {files: 0, bytes: 0};
    #done = {files: 0, bytes: 0, present: 0, refused: 0};

    /** `album` gives the ID of the album into which things are imported, or undefined. */
    constructor(album) {
        super();
        this.album = album;
        const take = () => {
            this.add([...this.input.files]);
            this.input.value = '';
        };
        this.input = el('input', {type: 'file', multiple: true, accept: 'image/*,video/*', class: 'unseen',
                                  tabindex: '-1', 'aria-label': t('import'), on: {change: take}});
        this.target = el('div', {class: 'drop-target', hidden: true}, el('p', {}, t('import.drop')));
        this.bar = el('progress', {max: '1', value: '0', 'aria-label': t('import')});
        this.text = el('p', {class: 'import-text'});
        this.refusals = el('ul', {class: 'refusals'});
        this.panel = el('section', {class: 'import-panel', 'aria-label': t('import'), hidden: true},
            el('div', {class: 'import-head'}, this.text, iconButton('close', t('close'), () => this.#close(),
                                                                    {class: 'icon-button small'})),
            this.bar, this.refusals);
        this.elements = [this.input, this.target, this.panel];
        this.#takeDrops();
    }

    choose() {
        this.input.click();
    }

    #takeDrops() {
        const isFiles = (event) => event.dataTransfer?.types.includes('Files');
        addEventListener('dragover', (event) => {
            if (isFiles(event)) {
                event.preventDefault();
                event.dataTransfer.dropEffect = 'copy';
                this.target.hidden = false;
            }
        });
        addEventListener('dragleave', (event) => {
            if (event.relatedTarget === null)
                this.target.hidden = true;
        });
        addEventListener('drop', async (event) => {
            this.target.hidden = true;
            if (!isFiles(event))
                return;
            event.preventDefault();
            await filesOf(event.dataTransfer).then((files) => this.add(files), fail);
        });
    }

    add(files) {
        if (files.length === 0)
            return;
        if (this.#running === 0 && this.#queue.length === 0)
            this.#begin();
        const album = this.album();
        for (const file of files) {
            this.#queue.push({file, album});
            this.#total.files += 1;
            this.#total.bytes += file.size;
        }
        this.panel.hidden = false;
        while (this.#running < mostAtOnce && this.#queue.length > 0)
            this.#run();
        this.#show();
    }

    #begin() {
        this.#total = {files: 0, bytes: 0};
        this.#done = {files: 0, bytes: 0, present: 0, refused: 0};
        this.refusals.replaceChildren();
    }

    async #run() {
        this.#running += 1;
        for (let next = this.#queue.shift(); next; next = this.#queue.shift()) {
            const {file, album} = next;
            try {
                const answer = await api.upload(file, file.name, album, (sent) => {
                    this.#sent.set(file, Math.min(sent, file.size));
                    this.#show();
                });
                this.#done.present += answer.wasPresent ? 1 : 0;
                if (answer.problem)
                    this.#refuse(file, answer.problem);
                this.dispatchEvent(new Event('imported'));
            } catch (error) {
                this.#done.refused += 1;
                this.#refuse(file, explain(error));
            }
            this.#sent.delete(file);
            this.#done.files += 1;
            this.#done.bytes += file.size;
            this.#show();
        }
        this.#running -= 1;
        this.#show();
    }

    #refuse({name}, reason) {
        if (this.refusals.childElementCount < mostRefusals)
            this.refusals.append(el('li', {}, el('strong', {}, name), ' ', reason));
    }

    #show() {
        const {files, bytes: all} = this.#total;
        const done = this.#done;
        const sent = done.bytes + [...this.#sent.values()].reduce((sum, each) => sum + each, 0);
        const isOver = this.#running === 0 && this.#queue.length === 0;
        this.bar.value = all > 0 ? sent / all : 1;
        this.bar.hidden = isOver;
        const parts = isOver ? [t('import.done', {n: done.files - done.refused - done.present})] :
            [t('import.running', {n: files, done: done.files}), bytes(sent)];
        if (isOver && done.present > 0)
            parts.push(t('import.present', {n: done.present}));
        if (done.refused > 0)
            parts.push(t('import.refused', {n: done.refused}));
        this.text.textContent = parts.join(' · ');
    }

    /** Files that have not begun are not imported. */
    #close() {
        for (const {file} of this.#queue.splice(0)) {
            this.#total.files -= 1;
            this.#total.bytes -= file.size;
        }
        this.panel.hidden = true;
    }
}
