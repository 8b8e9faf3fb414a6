// Puts the page together: what is shown for an address, and what follows from a change of the library.

import * as actions from './actions.js';
import {AlbumsPage, AlbumTray} from './albums.js';
import * as api from './api.js';
import {Changes} from './changes.js';
import {confirm, showHelp} from './dialogs.js';
import {debounced, el, iconButton, isTyping, textButton} from './dom.js';
import {DuplicatesPage} from './duplicates.js';
import {Gestures} from './gestures.js';
import {Import} from './import.js';
import {forgetPlaces} from './places.js';
import {addressOf, currentRoute} from './route.js';
import {parse, without} from './search.js';
import {Selection} from './selection.js';
import {SelectionBar, Shell, suggestions} from './shell.js';
import {Source} from './source.js';
import {explain, showAway, statusElements} from './status.js';
import {loadTexts, monthNames, t} from './texts.js';
import {Timeline} from './timeline.js';
import {TrashPage} from './trash.js';
import {Viewer} from './viewer.js';

const searchAfter = 250;
const followAfter = 300;
const showLoadingAfter = 250;
/** As many as index.html fetches early. All sections of a large library take longer. */
const firstAssets = 400;
const assetsInWindow = 60;
const retryAfter = 2000;
const leastBetweenStale = 5000;

/** Whether it may succeed when it is asked for again. */
const isPassing = ({code, status}) => code === 'noServer' || status === 503;

class Page {
    #albums = [];
    #first;
    #loading = null;
    #shown = '';
    #isRefreshing = false;
    #mustRefresh = false;
    #months = null;
    #completeLater = debounced(() => this.#isPartial && this.refresh(), retryAfter);
    /** Until the page that is shown has what it shows. */
    #showing = Promise.resolve();

    /** `first` is a promise of the source that is shown first, if that is of all assets. */
    constructor({readOnly}, first) {
        this.isFixed = readOnly;
        this.#first = first;
        this.shell = new Shell(readOnly);
        this.selection = new Selection();
        this.timeline = new Timeline(this.selection);
        this.viewer = new Viewer(actions, readOnly);
        this.tray = new AlbumTray(() => this.selection.clear());
        this.gestures = new Gestures(this.timeline, {
            onOpen: (index) => this.#open(index),
            onDrag: readOnly ? null : (ids) => (ids ? this.tray.show() : this.tray.hide()),
        });
        this.bar = new SelectionBar(this.selection);
        this.import = new Import(() => (currentRoute().name === 'album' ? currentRoute().id : undefined));
        this.pages = new Map([['albums', new AlbumsPage(readOnly)], ['duplicates', new DuplicatesPage(readOnly)],
                              ['trash', new TrashPage(readOnly)]]);
        document.body.append(...this.shell.elements, this.bar.element, this.tray.element,
                             ...(readOnly ? [] : this.import.elements), this.viewer.element, ...statusElements);
        this.#listen();
    }

    #listen() {
        const refresh = debounced(() => this.refresh(), followAfter);
        const search = debounced((text) => this.#search(text, false), searchAfter);
        this.shell.addEventListener('search', ({detail: {text, isFinal}}) => {
            search.cancel();
            if (isFinal)
                this.#search(text, true);
            else
                search(text);
        });
        this.shell.addEventListener('import', () => this.import.choose());
        this.shell.addEventListener('help', () => showHelp(this.isFixed));
        this.shell.addEventListener('skip', () => this.#enter());
        this.viewer.addEventListener('shown', ({detail}) => this.#viewed(detail));
        this.viewer.addEventListener('closed', () => this.#closed());
        let lastStale = -Infinity;
        this.timeline.addEventListener('stale', () => {
            if (performance.now() - lastStale < leastBetweenStale)
                return;
            lastStale = performance.now();
            refresh();
        });
        addEventListener('hashchange', () => this.show());
        document.addEventListener('keydown', (event) => this.#key(event));
        // What was asked for by a click, and says nothing of failure itself.
        addEventListener('unhandledrejection', ({reason}) => {
            if (reason instanceof api.ApiError)
                actions.fail(reason);
        });
        const changes = new Changes();
        changes.addEventListener('changed', refresh);
        api.changes.addEventListener('made', refresh);
        changes.addEventListener('away', ({detail: {error}}) => showAway(error));
        changes.addEventListener('back', () => showAway(null));
        changes.follow();
    }

    /** Gives the content the focus. */
    #enter() {
        if (this.timeline.element.isConnected)
            this.timeline.focus(this.timeline.current);
        else
            this.shell.main.querySelector('a, button, input')?.focus();
    }

    #key(event) {
        if (isTyping(event)) {
            if (event.key === 'Escape' || (event.key === 'ArrowDown' && event.target === this.shell.input)) {
                event.target.blur();
                this.#enter();
                event.preventDefault();
            }
            return;
        }
        if (this.viewer.isOpen && event.key !== '?') {
            // A button that has had its use, such as the one that reverts, takes the focus with it.
            if (event.target === document.body)
                this.viewer.key(event);
            return;
        }
        const keys = {
            '/': () => this.shell.input.focus(),
            '?': () => showHelp(this.isFixed),
            Escape: () => this.selection.clear(),
            Delete: () => this.isFixed || this.selection.size === 0 || this.#remove(),
        };
        if (event.ctrlKey || event.metaKey || event.altKey || !(event.key in keys))
            return;
        keys[event.key]();
        event.preventDefault();
    }

    async #search(text, isFinal) {
        const route = currentRoute();
        const address = addressOf({name: 'photos', query: text.trim()});
        // What is found while one types does not become a step to go back to.
        if (route.name === 'photos' && route.query && !isFinal)
            history.replaceState(null, '', address);
        else if (location.hash !== address)
            history.pushState(null, '', address);
        await this.show();
        if (isFinal && this.timeline.source?.count > 0)
            this.#enter();
    }

    async #knownAlbums() {
        if (this.#albums.length === 0)
            this.#albums = await actions.albums().catch(() => []);
        return this.#albums;
    }

    /** Shows what the address says. */
    async show() {
        const route = currentRoute();
        const page = this.pages.get(route.name);
        this.shell.show(route.name === 'album' ? 'albums' : route.name);
        const wanted = addressOf({...route, open: ''});
        if (document.activeElement !== this.shell.input)
            this.shell.input.value = route.query;
        if (wanted !== this.#shown) {
            this.#shown = wanted;
            this.selection.clear();
            if (!route.open && this.viewer.isOpen)
                this.viewer.close();
            this.#showing = page ? this.#showPage(page, t(route.name)) : this.#showTimeline(route);
        }
        await this.#showing;
        await this.#showLarge(currentRoute().open);
    }

    async #whileLoading(work) {
        const timer = setTimeout(() => {
            this.shell.loading.hidden = false;
        }, showLoadingAfter);
        try {
            return await work();
        } finally {
            clearTimeout(timer);
            this.shell.loading.hidden = true;
        }
    }

    async #showPage(page, title) {
        document.title = `${title} – ${t('app.name')}`;
        this.#loading?.abort();
        this.shell.main.replaceChildren(page.element);
        this.shell.main.scrollTop = 0;
        await this.#whileLoading(() => page.show()).catch(actions.fail);
    }

    async #filterOf(route) {
        if (route.name === 'album')
            return {filter: {album: route.id}, chips: [], words: ''};
        if (!route.query)
            return {filter: {}, chips: [], words: ''};
        const albums = await this.#knownAlbums();
        return parse(route.query, albums, this.#months ??= monthNames());
    }

    async #showTimeline(route) {
        const controller = new AbortController();
        this.#loading?.abort();
        this.#loading = controller;
        if (!this.timeline.element.isConnected)
            this.shell.main.replaceChildren(this.timeline.element);
        try {
            const meaning = await this.#filterOf(route);
            const isOfAll = Object.keys(meaning.filter).length === 0;
            const early = isOfAll ? this.#first : null;
            this.#first = null;
            // The head of a search says how many there are, and a picture that the address opens may be far away.
            const first = isOfAll && !route.query && !route.open ? firstAssets : null;
            this.#albums = route.name === 'album' ? await actions.albums() : this.#albums;
            const album = route.name === 'album' ? this.#albums.find(({id}) => id === route.id) : null;
            const source = await this.#whileLoading(async () => await early ??
                new Source(meaning.filter).load({signal: controller.signal, first}));
            if (controller.signal.aborted)
                return;
            this.bar.setChoices(this.#choices(route));
            this.#showHead(route, meaning, source, album);
            this.timeline.show(source);
            if (!source.isWhole)
                this.refresh();
        } catch (error) {
            if (error.name === 'AbortError')
                return;
            this.timeline.setMessage(el('p', {}, explain(error)));
            this.#shown = '';
            if (isPassing(error))
                setTimeout(() => this.#shown === '' && this.show(), retryAfter);
        }
    }

    #showHead(route, {chips, words, filter}, source, album) {
        const {head} = this.timeline;
        document.title = `${album?.title ?? (route.query || t('photos'))} – ${t('app.name')}`;
        if (route.name === 'album') {
            head.replaceChildren(iconButton('back', t('albums'), () => {
                location.hash = '#/albums';
            }), el('h1', {}, album?.title ?? t('album.gone')), el('span', {class: 'quiet-text'},
                t('photos.count', {n: source.count})),
            ...(this.isFixed || !album || !actions.isOwn(album) ? [] : [
                iconButton('pencil', t('album.rename'), () => actions.renameAlbum(album)),
                iconButton('trash', t('album.delete'), () => this.#deleteAlbum(album))]));
        } else if (route.query) {
            const chip = (label, raw) => el('span', {class: 'chip'}, el('span', {}, label), iconButton('close',
                t('chip.remove', {label}), () => {
                    this.shell.input.value = without(this.shell.input.value, raw);
                    this.#search(this.shell.input.value, false);
                }, {class: 'icon-button small'}));
            const found = words ? this.#albums.filter(({title}) =>
                title.toLowerCase().includes(words.toLowerCase())).slice(0, 4) : [];
            head.replaceChildren(el('h1', {class: 'unseen'}, t('search')),
                el('span', {class: 'quiet-text found', role: 'status'}, t('photos.count', {n: source.count})),
            ...chips.map(({label, raw}) => chip(label, raw)), ...(words ? [chip(words, words)] : []),
            ...found.map(({id, title}) => el('a', {class: 'suggestion', href: addressOf({name: 'album', id})},
                                             t('suggest.album', {title}))),
            ...this.#suggestions(filter));
        } else {
            head.replaceChildren(el('h1', {class: 'unseen'}, t('photos')));
        }
        if (source.count > 0)
            this.timeline.setMessage();
        else if (route.name === 'album')
            this.timeline.setMessage(el('p', {}, t('album.empty')));
        else if (route.query)
            this.timeline.setMessage(el('p', {}, t('search.none')));
        else
            this.timeline.setMessage(el('p', {class: 'empty-title'}, t('library.empty')),
                ...(this.isFixed ? [] : [el('p', {}, t('library.empty.hint')),
                    textButton(t('import'), () => this.import.choose(), {class: 'button primary'})]));
    }

    /** Filters that can be added with a click. */
    #suggestions(filter) {
        return suggestions.filter(({key}) => !(key in filter)).map(({raw, text}) => textButton(t(text), () => {
            this.shell.input.value = `${this.shell.input.value.trim()} ${raw}`.trim();
            this.#search(this.shell.input.value, false);
        }, {class: 'suggestion'}));
    }

    #choices({name, id}) {
        const then = (work) => async (selection) => {
            if (await work(selection.ids))
                selection.clear();
        };
        const always = [['download', 'download', (selection) => actions.download(selection.assets)]];
        if (this.isFixed)
            return always;
        return [
            ['plus', 'album.add', then(actions.addToAlbum)],
            ...(name === 'album' ? [['minus', 'album.remove', then((ids) => actions.removeFrom(id, ids))]] : []),
            ['heart', 'favourite.set', (selection) => this.#toggleAll(selection, 'favourite')],
            ['clock', 'shift.title', then(actions.shiftDates)],
            ['hide', 'hide', (selection) => this.#toggleHidden(selection)],
            ...always,
            ['trash', 'delete', () => this.#remove()],
        ];
    }

    /** Sets a mark of all selected ones, or takes it from them if all have it. */
    async #toggleAll(selection, name) {
        const isSet = selection.assets.every((asset) => asset[name]);
        if (await actions.set(selection.ids, {[name]: !isSet}))
            selection.clear();
    }

    async #toggleHidden(selection) {
        const isHidden = this.timeline.source.filter.hidden === 1;
        const {ids} = selection;
        if (!await actions.set(ids, {hidden: !isHidden}))
            return;
        selection.clear();
        actions.say(t(isHidden ? 'shown' : 'hidden', {n: ids.length}), {text: t('undo'), press: () =>
            actions.set(ids, {hidden: isHidden})});
    }

    async #remove() {
        const deleted = await actions.remove(this.selection.ids);
        if (deleted)
            this.selection.remove(deleted);
    }

    async #deleteAlbum(album) {
        if (!await confirm(t('album.delete'), t('album.delete.question', {title: album.title}), t('album.delete')))
            return;
        try {
            await api.post('/api/albums/delete', {id: album.id});
            location.hash = '#/albums';
        } catch (error) {
            actions.fail(error);
        }
    }

    #open(index) {
        const asset = this.timeline.source.known(index);
        if (!asset)
            return;
        this.#opening = index;
        this.#isPushed = true;
        location.hash = addressOf({...currentRoute(), open: asset.id});
    }

    #opening = -1;
    /** Whether the large view is one step further than what is behind it. */
    #isPushed = false;

    /** Opens or closes the large view as the address says. */
    async #showLarge(id) {
        if (!id) {
            this.viewer.close();
            return;
        }
        if (this.viewer.isOpen && this.viewer.asset?.id === id)
            return;
        this.#hold(true);
        const index = this.#opening;
        this.#opening = -1;
        const {source} = this.timeline;
        if (index >= 0) {
            await this.viewer.open(source, index);
            return;
        }
        // It was opened by its address.
        const facts = await api.get(`/api/asset/${id}`).catch(() => null);
        const found = facts && source && this.timeline.element.isConnected ?
            await source.find(id, facts.created.slice(0, 10)).catch(() => -1) : -1;
        if (currentRoute().open === id)
            await (found >= 0 ? this.viewer.open(source, found) : this.viewer.open(source, -1, id));
    }

    /** Keeps the focus and the pointer away from what is behind the large view. */
    #hold(isHeld) {
        for (const each of [this.shell.skip, this.shell.header, this.shell.main, this.bar.element])
            each.inert = isHeld;
    }

    #viewed({asset, index}) {
        const address = addressOf({...currentRoute(), open: asset.id});
        if (location.hash !== address)
            history.replaceState(null, '', address);
        if (index >= 0 && this.timeline.element.isConnected) {
            this.timeline.current = index;
            this.timeline.reveal(index, 'middle');
        }
    }

    #closed() {
        this.#hold(false);
        const route = currentRoute();
        if (route.open && this.#isPushed)
            history.back();
        else if (route.open)
            history.replaceState(null, '', addressOf({...route, open: ''}));
        this.#isPushed = false;
        if (this.timeline.element.isConnected && this.timeline.source?.count > 0)
            this.timeline.focus(this.timeline.current);
    }

    /** Whether the timeline in view lacks its older days. */
    get #isPartial() {
        return this.timeline.element.isConnected && this.timeline.source?.isWhole === false;
    }

    /** Looks at the library again, and once more if it changes meanwhile. What is in view stays where it is. */
    async refresh() {
        this.#mustRefresh = true;
        if (this.#isRefreshing)
            return;
        this.#isRefreshing = true;
        try {
            while (this.#mustRefresh) {
                this.#mustRefresh = false;
                const begin = performance.now();
                await this.#refreshOnce();
                // While a large library changes all the time, most of the time is left for other things, but a
                // timeline that was opened meanwhile gets its older days at once.
                const taken = performance.now() - begin;
                if (this.#mustRefresh && !this.#isPartial)
                    await new Promise((resolve) => setTimeout(resolve, 2 * taken));
            }
        } finally {
            this.#isRefreshing = false;
        }
    }

    async #refreshOnce() {
        forgetPlaces();
        this.#albums = [];
        const route = currentRoute();
        if (this.pages.has(route.name)) {
            try {
                await this.#showing;
                await this.pages.get(route.name).refresh();
            } catch (error) {
                this.#failRefresh(error);
            }
            return;
        }
        if (!this.timeline.source || this.#shown === '') {
            this.#shown = '';
            await this.show();
            return;
        }
        const before = this.timeline.source;
        const address = addressOf({...route, open: ''});
        try {
            const meaning = await this.#filterOf(route);
            const album = route.name === 'album' ? (await actions.albums()).find(({id}) => id === route.id) : null;
            const source = new Source(meaning.filter);
            await source.load();
            await this.timeline.prepare(source);
            // Another view has been opened, and shows itself.
            if (this.timeline.source !== before || addressOf({...currentRoute(), open: ''}) !== address)
                return;
            this.#showHead(route, meaning, source, album);
            this.timeline.show(source, {anchored: true});
            if (this.viewer.isOpen && this.viewer.asset)
                await this.#refreshViewer(source);
        } catch (error) {
            this.#failRefresh(error);
        }
    }

    async #refreshViewer(source) {
        const {asset, index} = this.viewer;
        const day = asset.created?.slice(0, 10);
        const found = day ? await source.find(asset.id, day) : -1;
        // Else it was moved to another asset meanwhile.
        const isSame = this.viewer.asset.id === asset.id && this.viewer.index === index;
        if (this.viewer.isOpen)
            await this.viewer.refresh(source, isSame && found >= 0 ? found :
                Math.min(this.viewer.index, source.count - 1));
    }

    #failRefresh(error) {
        // The loop that follows changes says so if the library is away.
        if (!isPassing(error))
            actions.fail(error);
        if (isPassing(error) || error.code === 'timedOut')
            this.#completeLater();
    }
}

/** The newest assets, with those at the top of the window. */
async function newest() {
    const source = await new Source({}).load({first: firstAssets});
    source.want(0, Math.min(source.count, assetsInWindow));
    return source;
}

/** Tries until it succeeds, unless this browser is not let in. */
async function openSession() {
    const message = el('p', {class: 'empty'});
    for (;;) {
        try {
            const session = await api.get('/api/session');
            message.remove();
            return session;
        } catch (error) {
            await loadTexts('en').catch(() => {});
            message.replaceChildren(el('p', {}, explain(error)));
            document.body.append(message);
            if (!isPassing(error))
                throw error;
        }
        await new Promise((resolve) => setTimeout(resolve, retryAfter));
    }
}

async function begin() {
    // The timeline, which is what most visits begin with, is fetched while the session opens.
    const {name, query, open} = currentRoute();
    const first = name === 'photos' && !query && !open ? newest() : null;
    first?.catch(() => {});
    const session = await openSession();
    api.setToken(session.token);
    await loadTexts(session.language);
    const page = new Page(session, first?.catch(() => null));
    await page.show();
}

begin();
