// Scrolling through content that is higher than browsers let an element be.

import {clamp} from './dom.js';

const mostPixels = 15_000_000;

/**
 * Maps the scroll position of an element to a position in its content. While the content is low enough they are the
 * same. Beyond that, small steps still move the content by as many pixels, and a jump of the scroll bar goes to the
 * same fraction of the content; the two meet again where scrolling rests.
 *
 * Content is placed at its own position minus `offset`.
 */
export class Scroller {
    #real = 0;
    #height = 0;
    #spacer;

    constructor(element, spacer, onScroll) {
        this.element = element;
        this.#spacer = spacer;
        this.offset = 0;
        this.top = 0;
        element.addEventListener('scroll', () => {
            this.#follow();
            onScroll();
        }, {passive: true});
    }

    get window() {
        return this.element.clientHeight;
    }

    get #isScaled() {
        return this.#height > mostPixels;
    }

    get most() {
        return Math.max(0, this.#height - this.window);
    }

    /** Near the ends they have the same distance from them, so that neither runs out before the other. */
    #realOf(top) {
        const end = mostPixels - this.window;
        const margin = 4 * this.window;
        if (top < margin)
            return top;
        if (this.most - top < margin)
            return end - (this.most - top);
        return clamp(top / this.most * end, margin, end - margin);
    }

    setHeight(height) {
        this.#height = height;
        this.#spacer.style.height = `${Math.min(height, mostPixels)}px`;
    }

    scrollTo(top) {
        this.top = clamp(Math.round(top), 0, this.most);
        this.#real = this.#isScaled ? Math.round(this.#realOf(this.top)) : this.top;
        this.element.scrollTop = this.#real;
        this.#real = this.element.scrollTop;
        this.offset = this.#isScaled ? this.top - this.#real : 0;
        if (!this.#isScaled)
            this.top = this.#real;
    }

    /** To be called where scrolling rests. Content stays where it is on the screen if it is placed again. */
    rest() {
        if (this.#isScaled && Math.abs(this.#realOf(this.top) - this.#real) > 1)
            this.scrollTo(this.top);
    }

    #follow() {
        const real = this.element.scrollTop;
        const step = real - this.#real;
        this.#real = real;
        if (!this.#isScaled) {
            this.top = real;
            this.offset = 0;
            return;
        }
        if (step === 0)
            return;
        if (Math.abs(step) > 4 * this.window)
            this.top = Math.round(real / (mostPixels - this.window) * this.most);
        else
            this.top = clamp(this.top + step, 0, this.most);
        this.offset = this.top - real;
        const isAtEdge = real <= 0 || real >= mostPixels - this.window - 1;
        if (isAtEdge && this.top > 0 && this.top < this.most)
            this.scrollTo(this.top);
    }
}
