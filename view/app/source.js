// The assets of a timeline: how many there are on each day, and what stands where, fetched as it is needed.

import * as api from './api.js';
import {upperBound} from './layout.js';

const chunkSize = 400;
const sliceSize = 2000;
const mostCached = 40_000;

function shapesOf(text) {
    const binary = atob(text);
    const shapes = new Uint16Array(binary.length >> 1);
    for (let index = 0; index < shapes.length; index += 1)
        shapes[index] = binary.charCodeAt(2 * index) | binary.charCodeAt(2 * index + 1) << 8;
    return shapes;
}

function dayAfter(text) {
    const date = new Date(`${text}T00:00:00Z`);
    date.setUTCDate(date.getUTCDate() + 1);
    return date.toISOString().slice(0, 10);
}

/** What matches a filter, newest first. Emits `arrived` with {first, end} and `stale` when the days have changed. */
export class Source extends EventTarget {
    #chunks = new Map();
    #pending = new Map();
    #cached = 0;

    constructor(filter) {
        super();
        this.filter = filter;
        this.sections = [];
        this.count = 0;
        /** False if there are older assets than these. */
        this.isWhole = true;
    }

    /**
     * Fetches how many assets each day has; once, before all else. With `first`, only of the newest days that have at
     * least that many.
     */
    async load({signal, first} = {}) {
        const {sections, isWhole} = await api.get('/api/sections', {unit: 'day', first, ...this.filter}, {signal});
        this.isWhole = isWhole;
        this.sections = sections.filter(({count}) => count > 0).map(({start, count, shapes}) => {
            const known = shapesOf(shapes ?? '');
            return {start, count, shapes: known.length === count ? known : new Uint16Array(count)};
        });
        this.#divide();
        return this;
    }

    /** Days that follow each other are fetched together; a very full day is fetched in slices. */
    #divide() {
        const starts = [];
        const queries = [];
        let index = 0;
        let open = null;
        for (const {start, count} of this.sections) {
            if (count > sliceSize) {
                open = null;
                for (let offset = 0; offset < count; offset += sliceSize) {
                    starts.push(index + offset);
                    queries.push({from: start, until: dayAfter(start), offset, limit: sliceSize,
                                  count: Math.min(sliceSize, count - offset)});
                }
            } else if (open && open.count + count <= chunkSize) {
                open.from = start;
                open.count += count;
            } else {
                open = {from: start, until: dayAfter(start), count};
                starts.push(index);
                queries.push(open);
            }
            index += count;
        }
        this.count = index;
        this.starts = Uint32Array.from(starts);
        this.queries = queries;
    }

    #chunkOf(index) {
        return upperBound(this.starts, index, this.starts.length) - 1;
    }

    /** The asset at an index, if it is there already. */
    known(index) {
        const chunk = this.#chunkOf(index);
        return this.#chunks.get(chunk)?.[index - this.starts[chunk]];
    }

    /** Fetches what is missing between two indices, and gives up fetching what is not wanted any more. */
    want(first, end) {
        if (end <= first)
            return;
        const begin = this.#chunkOf(first);
        const last = this.#chunkOf(end - 1);
        for (const [chunk, {controller, isAwaited}] of this.#pending)
            if (!isAwaited && (chunk < begin || chunk > last))
                controller.abort();
        for (let chunk = begin; chunk <= last; chunk += 1)
            this.#fetch(chunk, false).catch(() => {});
    }

    #fetch(chunk, isAwaited) {
        const assets = this.#chunks.get(chunk);
        if (assets) {
            // The most recently used ones are last.
            this.#chunks.delete(chunk);
            this.#chunks.set(chunk, assets);
            return Promise.resolve(assets);
        }
        const pending = this.#pending.get(chunk);
        if (pending && !pending.controller.signal.aborted) {
            pending.isAwaited ||= isAwaited;
            return pending.promise;
        }
        const controller = new AbortController();
        const entry = {controller, isAwaited};
        entry.promise = this.#ask(chunk, controller.signal).finally(() => {
            if (this.#pending.get(chunk) === entry)
                this.#pending.delete(chunk);
        });
        this.#pending.set(chunk, entry);
        return entry.promise;
    }

    async #ask(chunk, signal) {
        const {from, until, offset, limit, count} = this.queries[chunk];
        const first = this.starts[chunk];
        const {assets} = await api.get('/api/grid', {...this.filter, from, until, offset, limit}, {signal});
        if (signal.aborted)
            throw new DOMException('not wanted any more', 'AbortError');
        this.#chunks.set(chunk, assets);
        this.#cached += assets.length;
        for (const [old, its] of this.#chunks) {
            if (this.#cached <= mostCached || old === chunk)
                break;
            this.#chunks.delete(old);
            this.#cached -= its.length;
        }
        if (assets.length !== count)
            this.dispatchEvent(new CustomEvent('stale'));
        this.dispatchEvent(new CustomEvent('arrived', {detail: {first, end: first + count}}));
        return assets;
    }

    async at(index) {
        if (index < 0 || index >= this.count)
            return undefined;
        const chunk = this.#chunkOf(index);
        const first = this.starts[chunk];
        return (await this.#fetch(chunk, true))[index - first];
    }

    /** The assets from `first` up to `end`. */
    async range(first, end) {
        const parts = [];
        for (let index = first; index < end;) {
            const chunk = this.#chunkOf(index);
            const begin = this.starts[chunk];
            const assets = await this.#fetch(chunk, true);
            const stop = Math.min(end, begin + this.queries[chunk].count);
            parts.push(...assets.slice(index - begin, stop - begin));
            index = stop;
        }
        return parts;
    }

    /** All assets that match the filter, also those that this source leaves out. */
    async all() {
        const whole = this.isWhole ? this : await new Source(this.filter).load();
        return whole.range(0, whole.count);
    }

    /** The index of an asset that was created on a day such as "2019-08-05"; -1 if it is not there. */
    async find(id, day) {
        let first = 0;
        for (const {start, count} of this.sections) {
            if (start === day) {
                const assets = await this.range(first, first + count);
                const index = assets.findIndex((asset) => asset.id === id);
                return index < 0 ? -1 : first + index;
            }
            first += count;
        }
        return -1;
    }

    /** Changes what is known of an asset, such as after it was turned. */
    update(id, facts) {
        for (const [chunk, assets] of this.#chunks) {
            const index = assets.findIndex((asset) => asset.id === id);
            if (index >= 0) {
                assets[index] = {...assets[index], ...facts};
                const first = this.starts[chunk] + index;
                this.dispatchEvent(new CustomEvent('arrived', {detail: {first, end: first + 1}}));
                return;
            }
        }
    }
}
