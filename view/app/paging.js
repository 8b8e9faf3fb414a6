// A list that is fetched in parts, as its end comes near the window.

import * as api from './api.js';
import {el, setChildren} from './dom.js';
import {fail} from './status.js';

const ahead = 800;

/**
 * `entriesOf` gives what an answer of `path` lists, and `make` the element of an entry, which goes into `list`; `end`
 * is to stand below that. `onPart` gets each answer once its entries are there.
 */
export class Paging {
    #path;
    #list;
    #entriesOf;
    #make;
    #onPart;
    #next;
    #turn = 0;
    #fetching = 0;
    /** Parts that are in the list. */
    #parts = 0;

    constructor(path, list, {entriesOf, make, onPart}) {
        this.#path = path;
        this.#list = list;
        this.#entriesOf = entriesOf;
        this.#make = make;
        this.#onPart = onPart;
        this.end = el('div');
        new IntersectionObserver((entries) => {
            if (entries.some(({isIntersecting}) => isIntersecting))
                this.#more();
        }, {rootMargin: `${ahead}px`}).observe(this.end);
    }

    /** Whether the last part is in the list. */
    get isComplete() {
        return this.#next === undefined;
    }

    /** Begins with the first part again. */
    async restart() {
        this.#list.replaceChildren();
        this.#turn += 1;
        this.#parts = 0;
        this.#next = '';
        await this.#more();
    }

    /** Fetches as many parts again as are in the list. Elements whose entries are the same stay what they are. */
    async refresh() {
        this.#turn += 1;
        const turn = this.#turn;
        this.#fetching = turn; // what follows is fetched once these parts are in the list
        const elements = [];
        const before = new Map([...this.#list.children].map((element) => [element.entry, element]));
        let next = '';
        let parts = 0;
        let answer;
        try {
            while (next !== undefined && parts < Math.max(1, this.#parts)) {
                answer = await api.get(this.#path, {cursor: next});
                if (turn !== this.#turn)
                    return;
                elements.push(...this.#elementsOf(answer, before));
                next = answer.next;
                parts += 1;
            }
        } finally {
            if (this.#fetching === turn)
                this.#fetching = 0;
        }
        this.#parts = parts;
        this.#next = next;
        setChildren(this.#list, elements);
        this.#onPart(answer);
        this.fill();
    }

    /** Fetches more if there is room for it, such as after something was taken from the list. */
    fill() {
        if (this.end.isConnected && this.end.getBoundingClientRect().top < innerHeight + ahead)
            this.#more();
    }

    #elementsOf(answer, before = new Map()) {
        return this.#entriesOf(answer).map((entry) => {
            const text = JSON.stringify(entry);
            const element = before.get(text) ?? this.#make(entry);
            element.entry = text;
            return element;
        });
    }

    async #more() {
        const turn = this.#turn;
        if (this.isComplete || this.#fetching === turn)
            return;
        this.#fetching = turn;
        let answer;
        try {
            answer = await api.get(this.#path, {cursor: this.#next});
        } catch (error) {
            fail(error);
            return;
        } finally {
            if (this.#fetching === turn)
                this.#fetching = 0;
        }
        if (turn !== this.#turn)
            return;
        this.#next = answer.next;
        this.#parts += 1;
        this.#list.append(...this.#elementsOf(answer));
        this.#onPart(answer);
        this.fill();
    }
}
