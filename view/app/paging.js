// A list that is fetched in parts, as its end comes near the window.

import * as api from './api.js';
import {el} from './dom.js';
import {fail} from './status.js';

const ahead = 800;

/** `onPart` gets each answer of `path` and appends what is in it to the list; `end` is to stand below the list. */
export class Paging {
    #path;
    #onPart;
    #next;
    #turn = 0;
    #fetching = 0;

    constructor(path, onPart) {
        this.#path = path;
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

    /** Begins with the first part again; the list is to be empty. */
    async restart() {
        this.#turn += 1;
        this.#next = '';
        await this.#more();
    }

    /** Fetches more if there is room for it, such as after something was taken from the list. */
    fill() {
        if (this.end.isConnected && this.end.getBoundingClientRect().top < innerHeight + ahead)
            this.#more();
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
        this.#onPart(answer);
        this.fill();
    }
}
