// The frame of the page: bar, navigation, search box, and the bar for what is selected.

import {el, icon, iconButton} from './dom.js';
import {number, t} from './texts.js';

const places = ['photos', 'albums', 'duplicates', 'trash'];

/** Filters that are offered: `raw` is what one would write for it. */
export const suggestions = [
    {key: 'kind', raw: 'kind:video', text: 'chip.video'},
    {key: 'favourite', raw: 'favourite:yes', text: 'chip.favourite'},
    {key: 'edited', raw: 'edited:yes', text: 'chip.edited'},
    {key: 'problem', raw: 'problem:yes', text: 'chip.problem'},
    {key: 'hidden', raw: 'hidden:yes', text: 'chip.hidden'},
];

export class Shell extends EventTarget {
    /** Emits `search` with {text, isFinal}, `import` and `help`. */
    constructor(isFixed) {
        super();
        const tell = (name, detail) => this.dispatchEvent(new CustomEvent(name, {detail}));
        const search = (isFinal) => tell('search', {text: this.input.value, isFinal});
        this.input = el('input', {
            type: 'search', class: 'search-input', 'aria-label': t('search'), placeholder: t('search'),
            autocomplete: 'off', spellcheck: 'false', enterkeyhint: 'search',
            on: {
                input: () => search(false),
                // While a word is being composed, Enter takes it over.
                keydown: ({key, isComposing}) => key === 'Enter' && !isComposing && search(true),
            },
        });
        this.hints = el('div', {class: 'search-hints'}, el('p', {class: 'quiet-text'}, t('search.hint')),
            ...suggestions.map(({raw, text}) => el('button', {type: 'button', class: 'suggestion', on: {click: () => {
                this.input.value = raw;
                this.input.focus();
                search(false);
            }}}, t(text))));
        this.links = new Map(places.map((name) => [name, el('a', {href: `#/${name}`, class: 'nav-link'}, icon(name),
                                                            el('span', {}, t(name)))]));
        this.main = el('main', {id: 'main'});
        this.header = el('header', {class: 'bar'},
            el('a', {class: 'brand', href: '#/photos', 'aria-label': t('app.name')},
               el('img', {src: '/icon.svg', alt: '', width: '28', height: '28'})),
            el('nav', {class: 'nav', 'aria-label': t('navigation')}, ...this.links.values()),
            el('div', {class: 'search', role: 'search'}, icon('search'), this.input, this.hints),
            el('div', {class: 'bar-tools'},
                isFixed ? null : iconButton('import', t('import'), () => tell('import')),
                iconButton('help', t('help'), () => tell('help'), {class: 'icon-button help-button'})));
        this.loading = el('div', {class: 'loading', hidden: true});
        this.skip = el('a', {class: 'skip', href: '#main', on: {click: (event) => {
            event.preventDefault();
            tell('skip');
        }}}, t('skip'));
    }

    get elements() {
        return [this.skip, this.header, this.loading, this.main];
    }

    show(name) {
        for (const [each, link] of this.links) {
            if (each === name)
                link.setAttribute('aria-current', 'page');
            else
                link.removeAttribute('aria-current');
        }
    }
}

/** What can be done with the selected assets. `choices` are [icon, text key, function of a selection]. */
export class SelectionBar {
    constructor(selection) {
        this.selection = selection;
        this.count = el('span', {class: 'selection-count', role: 'status'});
        this.tools = el('div', {class: 'selection-tools'});
        this.element = el('div', {class: 'selection-bar', role: 'toolbar', 'aria-label': t('selection'), hidden: true},
            iconButton('close', t('selection.clear'), () => selection.clear()), this.count, this.tools);
        selection.addEventListener('change', () => this.#show());
    }

    setChoices(choices) {
        this.tools.replaceChildren(...choices.map(([name, key, press]) =>
            iconButton(name, t(key), () => press(this.selection))));
    }

    #show() {
        const n = this.selection.size;
        this.element.hidden = n === 0;
        this.count.replaceChildren(...(n === 0 ? [] : [
            el('span', {class: 'words'}, t('selected', {n})),
            el('span', {class: 'number', 'aria-hidden': 'true'}, number(n))]));
    }
}
