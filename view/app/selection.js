// Which assets are selected.

/** Emits `change`. Views that show assets mark the selected ones then. */
export class Selection extends EventTarget {
    #assets = new Map();
    /** The index at which a range begins that is selected with Shift. */
    anchor = -1;

    get size() {
        return this.#assets.size;
    }

    get ids() {
        return [...this.#assets.keys()];
    }

    get assets() {
        return [...this.#assets.values()];
    }

    has(id) {
        return this.#assets.has(id);
    }

    add(assets) {
        for (const asset of assets)
            this.#assets.set(asset.id, asset);
        this.#tell();
    }

    remove(ids) {
        for (const id of ids)
            this.#assets.delete(id);
        this.#tell();
    }

    toggle(asset) {
        if (!this.#assets.delete(asset.id))
            this.#assets.set(asset.id, asset);
        this.#tell();
    }

    replace(assets) {
        this.#assets.clear();
        this.add(assets);
    }

    clear() {
        this.anchor = -1;
        if (this.size === 0)
            return;
        this.#assets.clear();
        this.#tell();
    }

    #tell() {
        this.dispatchEvent(new Event('change'));
    }
}
