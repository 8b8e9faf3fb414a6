// The strip of years and months beside a timeline.

import {clamp, el} from './dom.js';
import {month, t, year} from './texts.js';

const leastBetweenYears = 22;

/** Shows where in time the timeline stands, and takes it elsewhere. */
export class Scrubber {
    #layout = null;
    #months = [];
    #most = 1;
    #position = 0;
    #isHeld = false;

    constructor(onJump) {
        this.onJump = onJump;
        this.thumb = el('div', {class: 'scrubber-thumb'});
        this.bubble = el('div', {class: 'scrubber-bubble'});
        this.years = el('div', {class: 'scrubber-years'});
        this.element = el('div', {
            class: 'scrubber', role: 'slider', tabindex: '0', 'aria-orientation': 'vertical',
            'aria-label': t('scrubber.name'), 'aria-valuemin': '0', 'aria-valuemax': '100', 'aria-valuenow': '0',
            on: {
                pointerdown: (event) => this.#hold(event),
                pointermove: (event) => this.#move(event),
                pointerup: () => this.#release(),
                pointercancel: () => this.#release(),
                pointerleave: () => this.element.classList.toggle('active', this.#isHeld),
                keydown: (event) => this.#press(event),
            },
        }, this.years, this.thumb, this.bubble);
    }

    /** Takes the layout and the highest position that can be scrolled to. */
    set(layout, most) {
        this.#layout = layout;
        this.#most = Math.max(1, most);
        this.#months = [];
        let last = '';
        layout.sections.forEach(({start}, section) => {
            const own = start.slice(0, 7);
            if (own !== last)
                this.#months.push({start, top: layout.sectionTop[section]});
            last = own;
        });
        this.element.hidden = most < 200 || this.#months.length < 2;
        this.#labelYears();
    }

    #labelYears() {
        this.years.replaceChildren();
        const height = this.element.clientHeight;
        let lastYear = '';
        let lastTop = -leastBetweenYears;
        for (const {start, top} of this.#months) {
            const at = top / this.#most * height;
            if (start.slice(0, 4) === lastYear)
                continue;
            lastYear = start.slice(0, 4);
            const fits = at - lastTop >= leastBetweenYears && at < height - 12;
            const label = el('span', {class: fits ? 'scrubber-year' : 'scrubber-tick'}, fits ? year(start) : '');
            label.style.top = `${Math.min(at, height - 2)}px`;
            this.years.append(label);
            if (fits)
                lastTop = at;
        }
    }

    #monthAt(position) {
        return this.#layout.sections[this.#layout.sectionAt(position + 1)]?.start;
    }

    /** Follows the timeline. */
    show(position) {
        this.#position = position;
        if (!this.#layout || this.#layout.count === 0)
            return;
        const fraction = clamp(position / this.#most, 0, 1);
        this.thumb.style.top = `${fraction * 100}%`;
        const text = month(this.#monthAt(position));
        this.element.setAttribute('aria-valuenow', String(Math.round(fraction * 100)));
        this.element.setAttribute('aria-valuetext', text);
        if (this.#isHeld || !this.element.classList.contains('active'))
            this.#point(fraction, text);
    }

    #point(fraction, text) {
        this.bubble.style.top = `${fraction * 100}%`;
        this.bubble.textContent = text;
    }

    #fraction(event) {
        const {top, height} = this.element.getBoundingClientRect();
        return clamp((event.clientY - top) / height, 0, 1);
    }

    #hold(event) {
        if (event.button !== 0 || !this.#layout)
            return;
        event.preventDefault();
        this.element.setPointerCapture(event.pointerId);
        this.element.focus({preventScroll: true});
        this.#isHeld = true;
        this.element.classList.add('active', 'held');
        this.onJump(this.#fraction(event) * this.#most);
    }

    #move(event) {
        if (!this.#layout || this.#layout.count === 0)
            return;
        const fraction = this.#fraction(event);
        this.element.classList.add('active');
        this.#point(fraction, month(this.#monthAt(fraction * this.#most)));
        if (this.#isHeld)
            this.onJump(fraction * this.#most);
    }

    #release() {
        this.#isHeld = false;
        this.element.classList.remove('active', 'held');
    }

    #yearOf(index) {
        return this.#months[index].start.slice(0, 4);
    }

    #firstOfYear(index) {
        return this.#months.findIndex((_, each) => this.#yearOf(each) === this.#yearOf(index));
    }

    #press(event) {
        if (this.#months.length === 0)
            return;
        const here = this.#months.findLastIndex(({top}) => top <= this.#position + 1);
        let to = here;
        if (event.key === 'ArrowDown')
            to = here + 1;
        else if (event.key === 'ArrowUp')
            to = this.#months[here]?.top < this.#position - 1 ? here : here - 1;
        else if (event.key === 'PageDown')
            to = this.#months.findIndex((_, index) => index > here && this.#yearOf(index) !== this.#yearOf(here));
        else if (event.key === 'PageUp')
            to = this.#firstOfYear(Math.max(0, this.#firstOfYear(here) - 1));
        else if (event.key === 'Home')
            to = 0;
        else if (event.key === 'End')
            to = this.#months.length - 1;
        else
            return;
        event.preventDefault();
        event.stopPropagation();
        if (to >= 0 && to < this.#months.length)
            this.onJump(this.#months[to].top);
    }
}
