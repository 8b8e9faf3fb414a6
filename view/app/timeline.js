// The grid of all photos and videos by day. Only what is near the window exists as elements.

import {bindCell, cellName, clearCell, newCell, Sharpener} from './cells.js';
import {clamp, debounced, el, icon, isRightToLeft} from './dom.js';
import {Layout} from './layout.js';
import {momentsOfDay} from './places.js';
import {Scroller} from './scroller.js';
import {Scrubber} from './scrubber.js';
import {day, fullDay, t} from './texts.js';

const wide = {target: 210, gap: 6, heading: 64, sectionGap: 28, between: 18, leastHeading: 190};
const narrow = {target: 116, gap: 3, heading: 52, sectionGap: 14, between: 10, leastHeading: 150};
const restAfter = 120;
const topMargin = 8;
const bottomMargin = 96;

/** Shows a source. Emits `stale` when the source no longer fits the library. */
export class Timeline extends EventTarget {
    #rows = new Map();
    #days = new Map();
    #spareCells = [];
    #spareRows = [];
    #sharpener = new Sharpener();
    #frame = 0;
    #lastTop = 0;
    #isFlying = false;
    #rest;
    #width = 0;
    #onArrived = ({detail}) => this.#arrived(detail);
    #onStale = () => this.dispatchEvent(new Event('stale'));

    constructor(selection) {
        super();
        this.selection = selection;
        this.source = null;
        this.layout = null;
        /** The asset that has the focus, or would get it. */
        this.current = 0;
        this.spacer = el('div', {class: 'spacer', role: 'presentation'});
        this.grid = el('div', {class: 'grid', role: 'grid', 'aria-multiselectable': 'true',
                               'aria-label': t('timeline.name')}, this.spacer);
        this.scroll = el('div', {class: 'scroll'}, this.grid);
        this.head = el('div', {class: 'timeline-head'});
        this.message = el('div', {class: 'empty', hidden: true});
        this.scrubber = new Scrubber((top) => this.scrollTo(top));
        this.element = el('div', {class: 'timeline'}, this.head, el('div', {class: 'timeline-body'}, this.scroll,
                                                                      this.scrubber.element, this.message));
        this.scroller = new Scroller(this.scroll, this.spacer, () => this.#scrolled());
        this.#rest = debounced(() => this.#settle(), restAfter);
        selection.addEventListener('change', () => this.#showSelection());
        new ResizeObserver(() => this.#resize()).observe(this.scroll);
    }

    /** Shows a source that has been loaded. `anchored` keeps what is in view where it is. */
    show(source, {anchored = false} = {}) {
        const anchor = anchored ? this.#anchor() : null;
        this.current = anchored ? this.#follow(source) : 0;
        this.source?.removeEventListener('arrived', this.#onArrived);
        this.source?.removeEventListener('stale', this.#onStale);
        this.source = source;
        source.addEventListener('arrived', this.#onArrived);
        source.addEventListener('stale', this.#onStale);
        this.#arrange(anchor);
    }

    /** The index that the current asset has in a source that takes the place of the old one. */
    #follow(source) {
        const before = this.source?.known(this.current);
        let first = 0;
        if (before) {
            const {start} = this.layout.sections[this.layout.sectionOf(this.current)];
            for (const section of source.sections) {
                if (section.start === start)
                    for (let index = first; index < first + section.count; index += 1)
                        if (source.known(index)?.id === before.id)
                            return index;
                first += section.count;
            }
        }
        return clamp(this.current, 0, Math.max(0, source.count - 1));
    }

    /** Fetches what will be in view once another source is shown, so that nothing flickers. */
    async prepare(source) {
        const [first, end] = this.#indices();
        const begin = Math.min(first, source.count);
        await source.range(begin, Math.min(end, source.count));
    }

    setMessage(...content) {
        this.message.replaceChildren(...content);
        this.message.hidden = content.length === 0;
    }

    #sizes() {
        return this.scroll.clientWidth < 700 ? narrow : wide;
    }

    #resize() {
        const width = this.grid.clientWidth;
        if (!this.source || width === 0 || (width === this.#width && this.layout))
            return this.#later();
        return this.#arrange(this.#anchor());
    }

    #anchor() {
        if (!this.layout || this.layout.count === 0 || this.scroller.top < topMargin + 2)
            return null;
        const {layout} = this;
        const top = this.scroller.top - topMargin;
        const section = layout.sectionAt(top);
        const [row] = layout.rowsBetween(top, top + 1);
        const index = layout.rowFirst[Math.min(row, layout.rowCount - 1)];
        if (layout.sectionOf(index) !== section)
            return {start: layout.sections[section].start, within: -1, away: top - layout.sectionTop[section]};
        const within = index - layout.sectionFirst[section];
        return {start: layout.sections[section].start, within, away: top - layout.rowTop[layout.rowOf(index)]};
    }

    #positionOf({start, within, away}) {
        const {layout} = this;
        let section = layout.sections.findIndex((each) => each.start <= start);
        if (section < 0)
            section = layout.sections.length - 1;
        if (layout.sections[section].start !== start || within < 0)
            return layout.sectionTop[section] + away + topMargin;
        const first = layout.sectionFirst[section];
        const index = Math.min(first + within, layout.sectionFirst[section + 1] - 1);
        return layout.rowTop[layout.rowOf(index)] + away + topMargin;
    }

    #arrange(anchor) {
        const width = this.grid.clientWidth;
        if (width === 0)
            return;
        this.#width = width;
        const hasFocus = this.grid.contains(document.activeElement);
        const before = this.layout;
        this.layout = new Layout(this.source.sections, width, this.#sizes());
        const {isWhole} = this.source;
        this.grid.setAttribute('aria-rowcount',
                               String(isWhole ? this.layout.rowCount + this.layout.sections.length : -1));
        this.grid.setAttribute('aria-busy', String(!isWhole));
        // What stays where it was does not blink.
        for (const row of [...this.#rows.keys()])
            if (!this.layout.hasRowOf(before, row))
                this.#dropRow(row);
        for (const section of [...this.#days.keys()])
            if (!this.layout.hasSectionOf(before, section))
                this.#dropDay(section);
        this.scroller.setHeight(this.layout.height + topMargin + bottomMargin);
        this.scrubber.set(this.layout, isWhole ? this.scroller.most : 0);
        this.scroller.scrollTo(anchor && this.layout.count > 0 ? this.#positionOf(anchor) : 0);
        this.#lastTop = this.scroller.top;
        this.#render();
        if (hasFocus)
            (this.cellAt(this.current) ?? this.tabStop)?.focus({preventScroll: true});
        this.#rest();
    }

    scrollTo(top) {
        this.scroller.scrollTo(top);
        this.#scrolled();
    }

    /** Brings an asset into view if it is not. */
    reveal(index, place = 'nearest') {
        if (!this.layout || index < 0 || index >= this.layout.count)
            return;
        const row = this.layout.rowOf(index);
        const top = this.layout.rowTop[row] + topMargin;
        const height = this.layout.rowHeight[row];
        const {window} = this.scroller;
        const margin = 72;
        if (place === 'middle' && (top < this.scroller.top || top + height > this.scroller.top + window))
            this.scrollTo(top + height / 2 - window / 2);
        else if (top - margin < this.scroller.top)
            this.scrollTo(top - margin);
        else if (top + height + 16 > this.scroller.top + window)
            this.scrollTo(top + height + 16 - window);
    }

    #scrolled() {
        if (!this.layout)
            return;
        const step = Math.abs(this.scroller.top - this.#lastTop);
        this.#isFlying = step > this.scroller.window * 0.9;
        this.#lastTop = this.scroller.top;
        this.#later();
        this.#rest();
    }

    #later() {
        this.#frame ||= requestAnimationFrame(() => {
            this.#frame = 0;
            this.#render();
        });
    }

    #settle() {
        if (!this.layout || !this.element.isConnected)
            return;
        this.#isFlying = false;
        this.scroller.rest();
        this.#render();
        const top = this.scroller.top - topMargin;
        const [first, end] = this.layout.rowsBetween(top, top + this.scroller.window);
        const cells = [];
        for (let row = first; row < end; row += 1)
            cells.push(...this.#rows.get(row)?.children ?? []);
        this.#sharpener.look(cells);
        for (const [section, element] of this.#days)
            this.#showPlace(section, element);
    }

    async #showPlace(section, element) {
        const {start} = this.layout.sections[section];
        const text = await momentsOfDay(start);
        if (element.start === start)
            element.place.textContent = text;
    }

    #stretch() {
        const ahead = this.#isFlying ? 0 : this.scroller.window * 0.75;
        const top = this.scroller.top - topMargin;
        return [top - ahead, top + this.scroller.window + ahead];
    }

    #indices() {
        if (!this.layout)
            return [0, 60];
        const [first, end] = this.layout.rowsBetween(...this.#stretch());
        return [this.layout.rowFirst[first] ?? 0, this.layout.rowFirst[end] ?? 0];
    }

    #render() {
        if (!this.layout || !this.element.isConnected)
            return;
        const {layout} = this;
        const [first, end] = layout.rowsBetween(...this.#stretch());
        const focused = document.activeElement?.closest?.('.row');
        for (const [row, element] of this.#rows)
            if ((row < first || row >= end) && element !== focused)
                this.#dropRow(row);
        const firstSection = first < end ? layout.rowSection[first] : 0;
        const endSection = first < end ? layout.rowSection[end - 1] + 1 : 0;
        for (const section of this.#days.keys())
            if (section < firstSection || section >= endSection)
                this.#dropDay(section);
        if (!this.#isFlying)
            this.source.want(layout.rowFirst[first] ?? 0, layout.rowFirst[end] ?? 0);
        for (let section = firstSection; section < endSection; section += 1)
            this.#placeDay(section);
        const top = this.scroller.top - topMargin;
        const [inView, below] = layout.rowsBetween(top, top + this.scroller.window);
        // What is in view fetches its pictures first.
        for (const [from, to] of [[inView, below], [below, end], [first, inView]])
            for (let row = from; row < to; row += 1)
                this.#placeRow(row);
        for (const [row, element] of this.#rows)
            if (row < first || row >= end)
                this.#setTop(element, layout.rowTop[row]);
        this.#setTabStop(first, end);
        this.scrubber.show(this.scroller.top);
    }

    #setTop(element, top) {
        const at = top + topMargin - this.scroller.offset;
        if (element.at !== at) {
            element.at = at;
            element.style.top = `${at}px`;
        }
    }

    /** Keeps the elements in the order in which they are read. */
    #insert(element, order) {
        element.order = order;
        element.setAttribute('aria-rowindex', String(order + 1));
        let next = this.grid.lastElementChild;
        let after = null;
        while (next && next !== this.spacer && next.order > order) {
            after = next;
            next = next.previousElementSibling;
        }
        this.grid.insertBefore(element, after);
    }

    #placeDay(section) {
        let element = this.#days.get(section);
        if (!element) {
            const {start} = this.layout.sections[section];
            element = el('div', {class: 'day', role: 'row'});
            element.start = start;
            element.place = el('span', {class: 'day-place'});
            element.append(el('div', {role: 'rowheader', class: 'day-title'},
                              el('span', {class: 'day-date', title: fullDay(start)}, day(start)), element.place),
                           el('div', {role: 'gridcell', class: 'day-action'},
                              el('button', {type: 'button', class: 'day-pick', tabindex: '-1',
                                            'aria-label': t('select.day', {day: fullDay(start)}),
                                            data: {section}}, icon('check'))));
            element.style.insetInlineStart = `${this.layout.sectionLeft[section]}px`;
            element.style.width = `${this.layout.sectionWidth[section]}px`;
            this.#days.set(section, element);
            this.#insert(element, this.layout.sectionRow[section] + section);
        }
        this.#setTop(element, this.layout.sectionTop[section]);
    }

    #dropDay(section) {
        this.#days.get(section).remove();
        this.#days.delete(section);
    }

    #placeRow(row) {
        const {layout} = this;
        let element = this.#rows.get(row);
        if (!element) {
            element = this.#spareRows.pop() ?? el('div', {class: 'row', role: 'row'});
            element.style.height = `${layout.rowHeight[row]}px`;
            const wanted = layout.rowFirst[row + 1] - layout.rowFirst[row];
            while (element.childElementCount > wanted) {
                this.#spareCells.push(element.lastElementChild);
                element.lastElementChild.remove();
            }
            while (element.childElementCount < wanted)
                element.append(this.#spareCells.pop() ?? newCell());
            let child = element.firstElementChild;
            layout.eachOf(row, (index, left, width) => {
                child.index = index;
                child.tabIndex = -1;
                child.style.insetInlineStart = `${left}px`;
                child.style.width = `${width}px`;
                child = child.nextElementSibling;
            });
            this.#rows.set(row, element);
            this.#insert(element, row + layout.rowSection[row] + 1);
        }
        this.#setTop(element, layout.rowTop[row]);
        this.#bindRow(element, layout.rowSection[row]);
    }

    #bindRow(element, section) {
        const {start, count} = this.layout.sections[section];
        const first = this.layout.sectionFirst[section];
        for (const cell of element.children) {
            const asset = this.source.known(cell.index);
            bindCell(cell, asset, !this.#isFlying);
            const name = cellName(asset, fullDay(start), cell.index - first + 1, count);
            if (cell.name !== name) {
                cell.name = name;
                cell.setAttribute('aria-label', name);
            }
            this.#showSelected(cell);
        }
    }

    #dropRow(row) {
        const element = this.#rows.get(row);
        this.#rows.delete(row);
        element.remove();
        for (const cell of element.children)
            clearCell(cell);
        this.#spareRows.push(element);
    }

    #arrived({first, end}) {
        for (const [row, element] of this.#rows)
            if (this.layout.rowFirst[row] < end && this.layout.rowFirst[row + 1] > first)
                this.#bindRow(element, this.layout.rowSection[row]);
        if (!this.#isFlying)
            this.#rest();
    }

    #showSelected(cell) {
        const isSelected = cell.asset !== null && this.selection.has(cell.asset?.id);
        if (cell.isSelected === isSelected)
            return;
        cell.isSelected = isSelected;
        cell.classList.toggle('selected', isSelected);
        cell.setAttribute('aria-selected', String(isSelected));
    }

    #showSelection() {
        this.grid.classList.toggle('selecting', this.selection.size > 0);
        for (const element of this.#rows.values())
            for (const cell of element.children)
                this.#showSelected(cell);
    }

    cellAt(index) {
        if (!this.layout || this.layout.count === 0)
            return undefined;
        const row = this.layout.rowOf(index);
        return this.#rows.get(row)?.children[index - this.layout.rowFirst[row]];
    }

    /** Exactly one cell can be reached by the Tab key. */
    #setTabStop(first, end) {
        const {layout} = this;
        let index = this.current;
        const row = layout.count > 0 ? layout.rowOf(index) : -1;
        if ((row < first || row >= end) && this.cellAt(index) !== document.activeElement) {
            const [inView] = layout.rowsBetween(this.scroller.top - topMargin, this.scroller.top);
            index = layout.rowFirst[Math.min(inView, layout.rowCount - 1)];
        }
        const cell = this.cellAt(index);
        if (cell === this.tabStop && cell?.tabIndex === 0)
            return;
        if (this.tabStop)
            this.tabStop.tabIndex = -1;
        this.tabStop = cell;
        if (cell)
            cell.tabIndex = 0;
    }

    /** Gives an asset the focus, wherever it stands. */
    focus(index) {
        this.current = clamp(index, 0, Math.max(0, this.source.count - 1));
        this.reveal(this.current);
        this.#render();
        this.cellAt(this.current)?.focus({preventScroll: true});
    }

    /** The content's position of a pointer. */
    pointOf({clientX, clientY}) {
        const {left, right, top} = this.grid.getBoundingClientRect();
        return {x: isRightToLeft() ? right - clientX : clientX - left,
                y: clientY - top + this.scroller.offset - topMargin};
    }
}
