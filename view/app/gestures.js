// Opening, selecting and dragging assets of a timeline: pointer, touch and keyboard.

import {clamp, el, isRightToLeft} from './dom.js';

const longPress = 450;
const dragType = 'application/x-wickerlane';

/** Connects a timeline and its selection with what the user does. `onOpen` gets the index of an asset. */
export class Gestures {
    #timeline;
    #selection;
    #press = 0;
    #ignoresClick = false;

    constructor(timeline, {onOpen, onDrag}) {
        this.#timeline = timeline;
        this.#selection = timeline.selection;
        this.onOpen = onOpen;
        this.onDrag = onDrag;
        const {grid, scroll} = timeline;
        grid.addEventListener('click', (event) => this.#click(event));
        grid.addEventListener('keydown', (event) => this.#key(event));
        grid.addEventListener('focusin', (event) => {
            const cell = event.target.closest('.cell');
            if (cell)
                timeline.current = cell.index;
        });
        grid.addEventListener('dragstart', (event) => this.#drag(event));
        grid.addEventListener('dragend', () => this.onDrag(null));
        grid.addEventListener('contextmenu', (event) => {
            if (this.#ignoresClick)
                event.preventDefault();
        });
        scroll.addEventListener('pointerdown', (event) => this.#down(event));
    }

    async #select(first, end) {
        this.#selection.add(await this.#timeline.source.range(first, end));
    }

    async selectTo(index) {
        const from = this.#selection.anchor < 0 ? index : this.#selection.anchor;
        await this.#select(Math.min(from, index), Math.max(from, index) + 1);
    }

    async toggle(index) {
        const asset = await this.#timeline.source.at(index);
        if (!asset)
            return;
        this.#selection.anchor = index;
        this.#selection.toggle(asset);
    }

    async selectAll() {
        this.#selection.add(await this.#timeline.source.all());
    }

    async #toggleDay(section) {
        const {layout, source} = this.#timeline;
        const assets = await source.range(layout.sectionFirst[section], layout.sectionFirst[section + 1]);
        if (assets.every(({id}) => this.#selection.has(id)))
            this.#selection.remove(assets.map(({id}) => id));
        else
            this.#selection.add(assets);
    }

    #click(event) {
        if (this.#ignoresClick) {
            this.#ignoresClick = false;
            return;
        }
        const day = event.target.closest('.day-pick');
        if (day) {
            this.#toggleDay(Number(day.dataset.section));
            return;
        }
        const cell = event.target.closest('.cell');
        if (!cell)
            return;
        if (event.shiftKey)
            this.selectTo(cell.index);
        else if (event.ctrlKey || event.metaKey || event.target.closest('.pick') || this.#selection.size > 0)
            this.toggle(cell.index);
        else
            this.onOpen(cell.index);
    }

    #down(event) {
        this.#ignoresClick = false;
        const cell = event.target.closest('.cell');
        if (event.pointerType === 'touch') {
            if (cell)
                this.#awaitLongPress(event, cell.index);
        } else if (event.button === 0 && !cell && !event.target.closest('button')) {
            const {scroll} = this.#timeline;
            // The scroll bar is not part of the content.
            if (event.offsetX <= scroll.clientWidth)
                this.#band(event);
        }
    }

    #awaitLongPress({clientX, clientY}, index) {
        clearTimeout(this.#press);
        const end = () => {
            clearTimeout(this.#press);
            for (const name of ['pointermove', 'pointerup', 'pointercancel'])
                removeEventListener(name, check);
        };
        const check = (event) => {
            if (event.type !== 'pointermove' || Math.hypot(event.clientX - clientX, event.clientY - clientY) > 8)
                end();
        };
        for (const name of ['pointermove', 'pointerup', 'pointercancel'])
            addEventListener(name, check);
        this.#press = setTimeout(() => {
            end();
            this.#ignoresClick = true;
            this.toggle(index);
        }, longPress);
    }

    /** Selects what is touched by a rectangle that is drawn from an empty place. */
    #band(begin) {
        const timeline = this.#timeline;
        const from = timeline.pointOf(begin);
        const before = begin.ctrlKey || begin.shiftKey || begin.metaKey ? this.#selection.assets : [];
        const band = el('div', {class: 'band'});
        let last = begin;
        let isDrawn = false;
        let turn = 0;
        const draw = async () => {
            const to = timeline.pointOf(last);
            const rect = {left: Math.min(from.x, to.x), right: Math.max(from.x, to.x),
                          top: Math.min(from.y, to.y), bottom: Math.max(from.y, to.y)};
            band.style.insetInlineStart = `${rect.left}px`;
            band.style.top = `${rect.top - timeline.scroller.offset + 8}px`;
            band.style.width = `${rect.right - rect.left}px`;
            band.style.height = `${rect.bottom - rect.top}px`;
            const own = turn += 1;
            const ranges = timeline.layout?.rangesIn(rect) ?? [];
            const assets = await Promise.all(ranges.map((range) => timeline.source.range(...range)));
            if (own === turn)
                this.#selection.replace([...before, ...assets.flat()]);
        };
        const move = (event) => {
            last = event;
            if (!isDrawn && Math.hypot(event.clientX - begin.clientX, event.clientY - begin.clientY) < 6)
                return;
            if (!isDrawn) {
                isDrawn = true;
                timeline.grid.prepend(band);
                requestAnimationFrame(follow);
            }
            draw();
        };
        const follow = () => {
            if (!isDrawn)
                return;
            const {top, bottom} = timeline.scroll.getBoundingClientRect();
            const over = last.clientY < top + 40 ? last.clientY - top - 40 : Math.max(0, last.clientY - bottom + 40);
            if (over !== 0) {
                timeline.scrollTo(timeline.scroller.top + clamp(over / 3, -40, 40));
                draw();
            }
            requestAnimationFrame(follow);
        };
        const end = () => {
            removeEventListener('pointermove', move);
            removeEventListener('pointerup', end);
            removeEventListener('pointercancel', end);
            band.remove();
            if (!isDrawn && begin.target.closest('.scroll') && before.length === 0)
                this.#selection.clear();
            isDrawn = false;
        };
        addEventListener('pointermove', move);
        addEventListener('pointerup', end);
        addEventListener('pointercancel', end);
    }

    #drag(event) {
        const cell = event.target.closest?.('.cell');
        if (!cell?.asset || !this.onDrag) {
            event.preventDefault();
            return;
        }
        const ids = this.#selection.has(cell.asset.id) ? this.#selection.ids : [cell.asset.id];
        event.dataTransfer.setData(dragType, ids.join(' '));
        event.dataTransfer.effectAllowed = 'copy';
        if (cell.picture.width > 0)
            event.dataTransfer.setDragImage(cell.picture, 20, 20);
        // A change of the page while the drag begins would end it.
        setTimeout(() => this.onDrag(ids));
    }

    #key(event) {
        const timeline = this.#timeline;
        const cell = event.target.closest('.cell');
        if (!cell || !timeline.layout)
            return;
        const {index} = cell;
        const {layout} = timeline;
        const forward = isRightToLeft() ? -1 : 1;
        const page = () => {
            const height = layout.rowHeight[layout.rowOf(index)] + 60;
            const rows = Math.max(1, Math.floor(timeline.scroller.window / height));
            let to = index;
            for (let row = 0; row < rows; row += 1)
                to = layout.neighbour(to, event.key === 'PageDown' ? 1 : -1);
            return to;
        };
        const targets = {
            ArrowLeft: () => index - forward,
            ArrowRight: () => index + forward,
            ArrowUp: () => layout.neighbour(index, -1),
            ArrowDown: () => layout.neighbour(index, 1),
            PageUp: page,
            PageDown: page,
            Home: () => 0,
            End: () => layout.count - 1,
        };
        if (event.key === 'Enter') {
            this.onOpen(index);
        } else if (event.key === ' ') {
            if (event.shiftKey)
                this.selectTo(index);
            else
                this.toggle(index);
        } else if (event.key === 'a' && (event.ctrlKey || event.metaKey)) {
            this.selectAll();
        } else if (event.key in targets && !event.altKey) {
            const to = clamp(targets[event.key](), 0, layout.count - 1);
            if (event.shiftKey) {
                if (this.#selection.anchor < 0)
                    this.#selection.anchor = index;
                this.selectTo(to);
            }
            timeline.focus(to);
        } else {
            return;
        }
        event.preventDefault();
        event.stopPropagation();
    }
}

/** The IDs that are being dragged, if these are assets of the library. */
export function draggedIds(event) {
    const text = event.dataTransfer.getData(dragType);
    return text ? text.split(' ') : [];
}

export const isDragOfAssets = (event) => event.dataTransfer.types.includes(dragType);
