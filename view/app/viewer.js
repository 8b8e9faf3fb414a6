// The large view of one photo or video of a sequence.

import * as api from './api.js';
import {el, icon, iconButton, isRightToLeft, isTyping} from './dom.js';
import {showFacts} from './facts.js';
import {said} from './status.js';
import {fullDay, t} from './texts.js';
import {Zoom} from './zoom.js';

const keepsFacts = 'wickerlane.facts';

function remembered(name) {
    try {
        return localStorage.getItem(name) === '1';
    } catch {
        return false;
    }
}

function remember(name, isOn) {
    try {
        localStorage.setItem(name, isOn ? '1' : '0');
    } catch {
        // It is only a convenience.
    }
}

/**
 * Shows assets of a source one at a time. `actions` has what is done with them: set, rotate, revert, remove, download,
 * copy, fail. Emits `shown` with {asset, index}, and `closed`.
 */
export class Viewer extends EventTarget {
    #asset = null;
    #facts = null;
    #index = -1;
    #turn = 0;
    #isComparing = false;
    #preloaded = [];

    constructor(actions, isFixed) {
        super();
        this.actions = actions;
        this.isFixed = isFixed;
        this.stage = el('div', {class: 'stage'});
        this.title = el('p', {class: 'viewer-title'});
        const change = (name, text, press, properties) => isFixed ? null : iconButton(name, t(text), press, properties);
        this.favourite = change('heart', 'favourite.set', () => this.#toggleFavourite(), {'aria-pressed': 'false'});
        this.turnButton = change('turn', 'turn', () => this.#rotate(3));
        this.revertButton = change('revert', 'revert', () => this.#revert());
        this.compareButton = iconButton('compare', t('compare'), () => this.#compare(), {'aria-pressed': 'false'});
        this.infoButton = iconButton('info', t('facts'), () => this.#toggleFacts(), {'aria-pressed': 'false'});
        this.previous = iconButton('back', t('previous'), () => this.step(-1),
                                   {class: 'icon-button step step-previous'});
        this.next = iconButton('next', t('next'), () => this.step(1), {class: 'icon-button step step-next'});
        this.panel = el('aside', {class: 'facts', 'aria-label': t('facts'), hidden: true});
        this.problem = el('p', {class: 'stage-problem', hidden: true});
        this.element = el('div', {class: 'viewer', role: 'dialog', 'aria-modal': 'true', 'aria-label': t('viewer.name'),
                                  tabindex: '-1', hidden: true, on: {keydown: (event) => this.key(event)}},
            el('div', {class: 'viewer-bar'},
                iconButton('close', t('close'), () => this.close()), this.title,
                el('div', {class: 'viewer-tools'},
                    this.favourite, this.turnButton, this.compareButton, this.revertButton,
                    iconButton('download', t('download'), () => this.actions.download([this.#asset])),
                    change('trash', 'delete', () => this.#remove()), this.infoButton)),
            el('div', {class: 'viewer-body'},
                el('div', {class: 'viewer-stage'}, this.stage, this.problem, this.previous, this.next), this.panel));
        this.zoom = new Zoom(this.stage, {onSwipe: (step) => this.step(step), onClose: () => this.close(),
                                          onZoom: (scale) => this.#sharpen(scale)});
        this.panel.hidden = !remembered(keepsFacts) || innerWidth < 700;
        this.infoButton.setAttribute('aria-pressed', String(!this.panel.hidden));
    }

    get isOpen() {
        return !this.element.hidden;
    }

    get asset() {
        return this.#asset;
    }

    get index() {
        return this.#index;
    }

    /** Shows the asset at an index of a source; with `id`, one that is not in a source. */
    async open(source, index, id = null) {
        this.source = source;
        this.element.hidden = false;
        this.element.focus();
        await this.#show(index, id);
    }

    close() {
        if (!this.isOpen)
            return;
        this.element.hidden = true;
        this.#clear();
        this.dispatchEvent(new Event('closed'));
    }

    async step(by) {
        const index = this.#index + by;
        if (this.#index >= 0 && index >= 0 && index < this.source.count)
            await this.#show(index);
        else
            this.zoom.reset();
    }

    /** Looks at the asset again after the library has changed. `source` has taken the place of the old one. */
    async refresh(source, index) {
        if (source) {
            this.source = source;
            this.#index = index;
        }
        await this.#loadFacts(this.#turn);
    }

    #clear() {
        this.#turn += 1;
        for (const video of this.stage.querySelectorAll('video')) {
            video.pause();
            video.removeAttribute('src');
            video.load();
        }
        for (const image of this.stage.querySelectorAll('img'))
            image.removeAttribute('src');
        this.stage.replaceChildren();
        this.problem.hidden = true;
        this.zoom.reset();
    }

    async #show(index, id = null) {
        this.#clear();
        const turn = this.#turn;
        this.#index = index;
        this.#facts = null;
        let asset;
        try {
            asset = id ? await api.get(`/api/asset/${id}`) : await this.source.at(index);
        } catch (error) {
            this.actions.fail(error);
            this.close();
            return;
        }
        if (turn !== this.#turn || !asset)
            return;
        this.#asset = asset;
        this.#isComparing = false;
        this.#showTools();
        this.#showPicture();
        this.dispatchEvent(new CustomEvent('shown', {detail: {asset, index}}));
        this.#preload();
        await this.#loadFacts(turn);
    }

    async #loadFacts(turn) {
        let facts;
        try {
            facts = await api.get(`/api/asset/${this.#asset.id}`);
        } catch (error) {
            if (error.status === 404 && turn === this.#turn && this.isOpen)
                this.#gone();
            return;
        }
        if (turn !== this.#turn)
            return;
        const isOther = facts.v !== undefined && facts.v !== this.#asset.v;
        this.#facts = facts;
        this.#asset = {...this.#asset, ...facts, favourite: Boolean(facts.favourite)};
        this.title.textContent = `${facts.name} · ${fullDay(facts.created)}`;
        if (isOther)
            this.#showPicture();
        this.#showTools();
        this.#showFacts();
    }

    /** What was shown is not in the library any more. */
    #gone() {
        if (this.#index >= 0 && this.source.count > 0)
            this.#show(Math.min(this.#index, this.source.count - 1));
        else
            this.close();
    }

    #showTools() {
        const {favourite, edited, kind} = this.#asset;
        this.favourite?.setAttribute('aria-pressed', String(Boolean(favourite)));
        this.favourite?.classList.toggle('lit', Boolean(favourite));
        const isEdited = Boolean(edited ?? this.#facts?.edited);
        this.compareButton.hidden = !isEdited;
        if (this.revertButton)
            this.revertButton.hidden = !isEdited;
        if (this.turnButton)
            this.turnButton.hidden = kind === 'video';
        this.compareButton.setAttribute('aria-pressed', String(this.#isComparing));
        this.previous.hidden = this.#index <= 0;
        this.next.hidden = this.#index < 0 || this.#index >= this.source.count - 1;
    }

    #picture(sizes, name) {
        // The smaller one is shown until the larger one is there.
        const holder = el('div', {class: 'shot'});
        const turn = this.#turn;
        const asset = this.#asset;
        const load = async () => {
            let shown = 0;
            for (const [step, size] of sizes.entries()) {
                const image = el('img', {alt: name, draggable: 'false'});
                image.src = api.media(asset, size);
                if (step === 0) {
                    holder.append(image);
                    shown = await image.decode().then(() => 1, () => 0);
                    continue;
                }
                try {
                    await image.decode();
                } catch {
                    continue;
                }
                if (turn !== this.#turn)
                    return;
                shown += 1;
                holder.replaceChildren(image);
            }
            if (shown === 0 && turn === this.#turn && holder.isConnected)
                this.#showProblem(this.#facts?.problem ? said('span', this.#facts.problem) : t('picture.missing'));
        };
        load();
        return holder;
    }

    #showProblem(content) {
        this.problem.replaceChildren(icon('warning'), content);
        this.problem.hidden = false;
    }

    #showPicture() {
        const {kind} = this.#asset;
        const name = this.#facts?.name ?? t(kind === 'video' ? 'kind.video' : 'kind.photo');
        this.zoom.reset();
        this.problem.hidden = true;
        this.stage.classList.toggle('comparing', this.#isComparing);
        for (const image of this.stage.querySelectorAll('img'))
            image.removeAttribute('src');
        if (kind === 'video') {
            this.stage.replaceChildren(this.#video());
        } else if (this.#isComparing) {
            const side = (sizes, text) => el('figure', {}, this.#picture(sizes, text), el('figcaption', {}, text));
            this.stage.replaceChildren(side(['original'], t('version.original')),
                                       side(['preview', 'large'], t('version.edited')));
        } else {
            this.stage.replaceChildren(this.#picture(['small', 'large'], name));
        }
        this.zoom.isEnabled = kind !== 'video';
        this.isFull = false;
    }

    #video() {
        const asset = this.#asset;
        const video = el('video', {controls: true, playsinline: true, preload: 'metadata',
                                   src: api.media(asset, asset.edited ? 'edited' : 'original'),
                                   poster: api.media(asset, 'preview'), 'aria-label': t('kind.video')});
        const turn = this.#turn;
        video.addEventListener('error', () => {
            if (turn === this.#turn)
                this.#showProblem(t('video.unplayable'));
        });
        return video;
    }

    /** The full size is fetched when more of it can be seen than the large picture has. */
    async #sharpen(scale) {
        if (scale < 1.5 || this.isFull || this.#isComparing)
            return;
        this.isFull = true;
        const turn = this.#turn;
        const image = el('img', {alt: this.#facts?.name ?? '', draggable: 'false'});
        image.src = api.media(this.#asset, 'full');
        try {
            await image.decode();
            if (turn === this.#turn && !this.#isComparing)
                this.stage.querySelector('.shot')?.replaceChildren(image);
        } catch {
            // The large one stays.
        }
    }

    async #preload() {
        const {source} = this;
        const index = this.#index;
        if (index < 0)
            return;
        for (const each of this.#preloaded)
            each.removeAttribute('src');
        this.#preloaded = [];
        for (const near of [index + 1, index - 1]) {
            const asset = await source.at(near).catch(() => undefined);
            if (!asset || asset.kind === 'video' || index !== this.#index)
                continue;
            const image = new Image();
            image.src = api.media(asset, 'large');
            this.#preloaded.push(image);
        }
    }

    #showFacts() {
        if (this.panel.hidden || !this.#facts)
            return;
        if (this.panel.contains(document.activeElement) && this.panel.dataset.id === this.#asset.id && isTyping({
            target: document.activeElement}))
            return;
        this.panel.dataset.id = this.#asset.id;
        showFacts(this.panel, this.#facts, {
            isFixed: this.isFixed,
            onSet: (details) => this.#set(details),
            onCopy: (text) => this.actions.copy(text),
        });
    }

    #toggleFacts() {
        this.panel.hidden = !this.panel.hidden;
        this.infoButton.setAttribute('aria-pressed', String(!this.panel.hidden));
        remember(keepsFacts, !this.panel.hidden);
        this.#showFacts();
    }

    async #set(details) {
        const asset = this.#asset;
        if (!await this.actions.set([asset.id], details))
            return;
        this.source?.update(asset.id, details);
        if (this.#asset.id !== asset.id)
            return;
        Object.assign(this.#asset, details);
        Object.assign(this.#facts ?? {}, details);
        this.#showTools();
        if ('rating' in details)
            this.#showFacts();
    }

    #toggleFavourite() {
        return this.#set({favourite: !this.#asset.favourite});
    }

    #changed(id, v, edited) {
        this.source?.update(id, v === undefined ? {edited} : {v, edited});
        if (this.#asset.id !== id)
            return;
        Object.assign(this.#asset, v === undefined ? {edited} : {v, edited});
        this.#isComparing = false;
        this.#showTools();
        this.#showPicture();
    }

    async #rotate(quarters) {
        const {id, kind} = this.#asset;
        if (this.isFixed || kind === 'video')
            return;
        const answer = await this.actions.rotate(id, quarters);
        if (answer)
            this.#changed(id, answer.v, true);
    }

    async #revert() {
        const {id} = this.#asset;
        if (!await this.actions.revert([id]))
            return;
        const turn = this.#turn;
        const facts = await api.get(`/api/asset/${id}`).catch(() => null);
        if (turn === this.#turn)
            this.#changed(id, facts?.v, false);
    }

    #compare() {
        this.#isComparing = !this.#isComparing;
        this.#showTools();
        this.#showPicture();
    }

    #remove() {
        this.actions.remove([this.#asset.id]);
    }

    /** Handles a key press while this is open. */
    key(event) {
        if (event.key === 'Tab') {
            this.#keepFocus(event);
            return;
        }
        if (event.key === 'Escape') {
            if (isTyping(event))
                this.element.focus();
            else if (this.zoom.scale > 1)
                this.zoom.zoomTo(1);
            else
                this.close();
            event.stopPropagation();
            event.preventDefault();
            return;
        }
        if (isTyping(event) || event.ctrlKey || event.metaKey || event.altKey ||
            event.target.closest('video, [type=radio]'))
            return;
        const forward = isRightToLeft() ? -1 : 1;
        const far = 80;
        const moves = {ArrowLeft: [far, 0], ArrowRight: [-far, 0], ArrowUp: [0, far], ArrowDown: [0, -far]};
        const keys = {
            ArrowLeft: () => this.step(-forward),
            ArrowRight: () => this.step(forward),
            f: () => this.favourite && this.#toggleFavourite(),
            i: () => this.#toggleFacts(),
            '[': () => this.#rotate(3),
            ']': () => this.#rotate(1),
            c: () => this.compareButton.hidden || this.#compare(),
            '+': () => this.zoom.zoomTo(this.zoom.scale * 1.5),
            '=': () => this.zoom.zoomTo(this.zoom.scale * 1.5),
            '-': () => this.zoom.zoomTo(this.zoom.scale / 1.5),
            0: () => this.zoom.zoomTo(1),
            Delete: () => this.isFixed || this.#remove(),
            Home: () => this.#index >= 0 && this.#show(0),
            End: () => this.#index >= 0 && this.#show(this.source.count - 1),
        };
        if (event.shiftKey && event.key in moves)
            this.zoom.pan(...moves[event.key]);
        else if (event.key in keys)
            keys[event.key]();
        else
            return;
        event.preventDefault();
        event.stopPropagation();
    }

    #keepFocus(event) {
        const all = [...this.element.querySelectorAll('button, input, textarea, a[href], video')]
            .filter((each) => !each.disabled && each.offsetParent !== null);
        const first = all[0];
        const last = all.at(-1);
        const {activeElement} = document;
        if (event.shiftKey && (activeElement === first || activeElement === this.element)) {
            last?.focus();
            event.preventDefault();
        } else if (!event.shiftKey && activeElement === last) {
            first?.focus();
            event.preventDefault();
        }
    }
}
