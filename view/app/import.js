// Importing files and folders that are dropped on the page or chosen.

import * as api from './api.js';
import {el, iconButton} from './dom.js';
import {explain, fail, said} from './status.js';
import {bytes, t} from './texts.js';

// Browsers don't count raw files and metadata among pictures.
const acceptedTypes = 'image/*,video/*,.xmp,.dng,.cr2,.cr3,.nef,.arw,.raf,.orf,.rw2,.pef,.srw,.raw';
const mostAtOnce = 2;
const mostRefusals = 200;
const mostPaired = 500;

const isShown = ({name}) => !name.startsWith('.');

/** All files of what was dropped, those of folders included, as {path, file}. Hidden ones stay where they are. */
async function filesOf(transfer) {
    // The entries are gone when the event is over.
    const entries = [...transfer.items].map((item) => item.webkitGetAsEntry?.()).filter(Boolean);
    if (entries.length === 0)
        return pathsOf(transfer.files);
    const files = [];
    const walk = async (entry) => {
        if (!isShown(entry))
            return;
        if (entry.isFile) {
            const file = await new Promise((resolve, reject) => entry.file(resolve, reject));
            files.push({path: entry.fullPath, file});
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
    return files;
}

/** Files of one folder. */
const pathsOf = (files) => [...files].map((file) => ({path: file.name, file}));

const withoutExtension = (path) => path.replace(/\.[^./]*$/, '');

/** Those of the files that share their name but for the extension with another, in parts that keep these together. */
function sharedNames(files) {
    const byName = new Map();
    for (const each of files) {
        const name = withoutExtension(each.path);
        byName.set(name, [...byName.get(name) ?? [], each]);
    }
    const parts = [[]];
    for (const shared of byName.values()) {
        if (shared.length < 2)
            continue;
        if (parts.at(-1).length + shared.length > mostPaired)
            parts.push([]);
        parts.at(-1).push(...shared.slice(0, mostPaired));
    }
    return parts.filter((part) => part.length > 0);
}

/** The first bytes of a file as hexadecimal digits, by which the server knows its type; none if it can't be read. */
async function startOf(file) {
    const bytes = new Uint8Array(await file.slice(0, 512).arrayBuffer().catch(() => new ArrayBuffer(0)));
    return [...bytes].map((byte) => byte.toString(16).padStart(2, '0')).join('');
}

/** The second of two files that may be of one shot, by the first: paths. */
async function pairsOf(files) {
    const pairs = new Map();
    for (const part of sharedNames(files)) {
        const starts = {};
        for (const {path, file} of part)
            starts[path] = await startOf(file);
        const answer = await api.post('/api/import/pairs', {files: starts});
        for (const [first, second] of Object.entries(answer.pairs))
            pairs.set(first, second);
    }
    return pairs;
}

/**
 * What is sent together, as {file, second, sidecar, secondSidecar}: two files that may be of one shot, and the metadata
 * beside each, "a.jpg.xmp" or "a.xmp".
 */
async function shotsOf(files) {
    const second = await pairsOf(files);
    const seconds = new Set(second.values());
    const byPath = new Map(files.map(({path, file}) => [path, file]));
    const isSidecar = ({path}) => /\.xmp$/i.test(path);
    const sidecars = new Map(files.filter(isSidecar).map((each) => [withoutExtension(each.path), each]));
    const taken = new Set();
    const sidecarOf = (path) => {
        const found = path && (sidecars.get(path) ?? sidecars.get(withoutExtension(path)));
        taken.add(found);
        return found?.file;
    };
    const shots = files.filter((each) => !seconds.has(each.path) && !isSidecar(each)).map(({path, file}) =>
        ({file, second: byPath.get(second.get(path)), sidecar: sidecarOf(path),
          secondSidecar: sidecarOf(second.get(path))}));
    // Metadata of nothing is refused with a reason.
    const left = files.filter((each) => isSidecar(each) && !taken.has(each));
    return [...shots, ...left.map(({file}) => ({file}))];
}

const sizeOf = (shot) => Object.values(shot).reduce((sum, file) => sum + (file?.size ?? 0), 0);

/** Imports files, a few at a time, and shows how far it is. Emits `imported` when one is in the library. */
export class Import extends EventTarget {
    #queue = [];
    #sent = new Map();
    #running = 0;
    #total = {files: 0, bytes: 0};
    #done = {files: 0, bytes: 0, present: 0, refused: 0};
    #stopping = new AbortController();

    /** `album` gives the ID of the album into which things are imported, or undefined. */
    constructor(album) {
        super();
        this.album = album;
        const take = () => {
            const files = pathsOf(this.input.files);
            this.input.value = '';
            this.add(files).catch(fail);
        };
        this.input = el('input', {type: 'file', multiple: true, accept: acceptedTypes, class: 'unseen',
                                  tabindex: '-1', 'aria-label': t('import'), on: {change: take}});
        this.target = el('div', {class: 'drop-target', hidden: true}, el('p', {}, t('import.drop')));
        this.bar = el('progress', {max: '1', value: '0', 'aria-label': t('import')});
        this.text = el('p', {class: 'import-text'});
        this.refusals = el('ul', {class: 'refusals'});
        this.closing = iconButton('close', t('close'), () => this.#close(), {class: 'icon-button small'});
        this.panel = el('section', {class: 'import-panel', 'aria-label': t('import'), hidden: true},
            el('div', {class: 'import-head'}, this.text, this.closing), this.bar, this.refusals);
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
            await filesOf(event.dataTransfer).then((files) => this.add(files)).catch(fail);
        });
    }

    get #isOver() {
        return this.#running === 0 && this.#queue.length === 0;
    }

    /** Imports files, which are {path, file}. */
    async add(files) {
        const album = this.album();
        const shots = await shotsOf(files);
        if (shots.length === 0)
            return;
        if (this.#isOver)
            this.#begin();
        for (const shot of shots) {
            this.#queue.push({shot, album});
            this.#total.files += 1;
            this.#total.bytes += sizeOf(shot);
        }
        this.panel.hidden = false;
        while (this.#running < mostAtOnce && this.#queue.length > 0)
            this.#run();
        this.#show();
    }

    #begin() {
        this.#total = {files: 0, bytes: 0};
        this.#done = {files: 0, bytes: 0, present: 0, refused: 0};
        this.#stopping = new AbortController();
        this.refusals.replaceChildren();
    }

    async #run() {
        this.#running += 1;
        for (let next = this.#queue.shift(); next; next = this.#queue.shift())
            await this.#send(next);
        this.#running -= 1;
        this.#show();
    }

    async #send({shot, album}) {
        const size = sizeOf(shot);
        try {
            const answer = await api.upload(shot, {album, signal: this.#stopping.signal, onProgress: (sent) => {
                this.#sent.set(shot, Math.min(sent, size));
                this.#show();
            }});
            this.#count(shot.file, answer);
            if (answer.second) { // of another shot
                this.#total.files += 1;
                this.#count(shot.second, answer.second);
            }
            this.dispatchEvent(new Event('imported'));
            this.#done.bytes += size;
        } catch (error) {
            if (error.name === 'AbortError') {
                this.#forget(shot);
            } else {
                this.#count(shot.file, {error: explain(error)});
                this.#done.bytes += size;
            }
        }
        this.#sent.delete(shot);
        this.#show();
    }

    /** Counts a file that was saved or refused. */
    #count(file, {wasPresent, problem, error}) {
        this.#done.files += 1;
        this.#done.present += wasPresent ? 1 : 0;
        this.#done.refused += error ? 1 : 0;
        if (error || problem)
            this.#refuse(file, error ?? said('span', problem));
    }

    /** Counts what is not imported as if it had not been there. */
    #forget(shot) {
        this.#total.files -= 1;
        this.#total.bytes -= sizeOf(shot);
    }

    #refuse({name}, reason) {
        if (this.refusals.childElementCount < mostRefusals)
            this.refusals.append(el('li', {}, el('strong', {}, name), ' ', reason));
    }

    #show() {
        const {files, bytes: all} = this.#total;
        const done = this.#done;
        const sent = done.bytes + [...this.#sent.values()].reduce((sum, each) => sum + each, 0);
        const isOver = this.#isOver;
        for (const name of ['aria-label', 'title'])
            this.closing.setAttribute(name, t(isOver ? 'close' : 'import.stop'));
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

    /** Stops while something is imported: what is not in the library yet does not get there. */
    #close() {
        if (this.#isOver) {
            this.panel.hidden = true;
            return;
        }
        for (const {shot} of this.#queue.splice(0))
            this.#forget(shot);
        this.#stopping.abort();
    }
}
