// The elements that show assets in a grid. One that leaves the window shows another asset later.

import {media} from './api.js';
import {el, icon} from './dom.js';
import {duration, t} from './texts.js';

const smallSide = 256;
const retries = [1000, 4000];
const mostSharpening = 4;

export function newCell() {
    const picture = el('canvas', {width: '0', height: '0', 'aria-hidden': 'true'});
    const cell = el('div', {class: 'cell', role: 'gridcell', tabindex: '-1', draggable: 'true'}, picture,
                    el('span', {class: 'pick'}, icon('check')));
    cell.picture = picture;
    /** What its picture is sharp for, in pixels of the screen; 0 while that is the small one. */
    cell.density = 0;
    cell.shown = '';
    return cell;
}

async function fetchPicture(asset, size, signal) {
    const answer = await fetch(media(asset, size), {signal, priority: 'low'});
    if (!answer.ok)
        throw new Error(`status ${answer.status}`);
    const bitmap = await createImageBitmap(await answer.blob());
    if (signal.aborted) {
        bitmap.close();
        throw signal.reason;
    }
    return bitmap;
}

/**
 * Draws a picture, no larger than it has to be for a place of that size. A canvas gives its memory back once its cell
 * has left the window; of image elements, browsers keep the last thousand pictures decoded.
 */
function draw({picture, classList}, bitmap, {width, height} = bitmap) {
    const scale = Math.min(1, Math.max(width / bitmap.width, height / bitmap.height));
    picture.width = Math.ceil(bitmap.width * scale);
    picture.height = Math.ceil(bitmap.height * scale);
    // Without the graphics card, so that a cell is no layer of its own.
    const context = picture.getContext('2d', {alpha: false, willReadFrequently: true});
    context.imageSmoothingQuality = 'medium';
    context.drawImage(bitmap, 0, 0, picture.width, picture.height);
    bitmap.close();
    picture.classList.add('loaded');
    classList.remove('broken');
}

async function setPicture(cell, asset) {
    clearPicture(cell);
    cell.loading = new AbortController();
    const {signal} = cell.loading;
    for (const pause of [0, ...retries]) {
        if (pause > 0) // the library may just have been busy or away
            await new Promise((resolve) => setTimeout(resolve, pause));
        try {
            draw(cell, await fetchPicture(asset, 'small', signal));
            return;
        } catch {
            if (signal.aborted)
                return;
            cell.classList.add('broken');
        }
    }
}

function clearPicture(cell) {
    cell.loading?.abort();
    cell.loading = null;
    cell.picture.width = 0;
    cell.picture.height = 0;
    cell.picture.classList.remove('loaded');
    cell.classList.remove('broken');
    cell.density = 0;
}

function mark(cell, name, make) {
    const old = cell.querySelector(`.mark-${name}`);
    if (!make) {
        old?.remove();
        return;
    }
    const text = make();
    if (old && old.dataset.text === text)
        return;
    old?.remove();
    const isDuration = name === 'video';
    cell.append(el('span', {class: `mark mark-${name}`, data: {text}},
                   icon(isDuration ? 'play' : name), isDuration ? text : null));
}

/** Shows an asset, or an empty place while it is not known. `withPicture` is false during fast scrolling. */
export function bindCell(cell, asset, withPicture) {
    cell.asset = asset ?? null;
    if (!asset) {
        clearCell(cell);
        return;
    }
    const shown = `${asset.id} ${asset.v}`;
    if (withPicture && cell.shown !== shown) {
        cell.shown = shown;
        setPicture(cell, asset);
    } else if (!withPicture && cell.shown !== shown && cell.shown) {
        clearCell(cell);
        cell.asset = asset;
    }
    mark(cell, 'video', asset.kind === 'video' ? () => duration(asset.duration ?? 0) : null);
    mark(cell, 'heart', asset.favourite ? () => '1' : null);
    mark(cell, 'warning', asset.problem ? () => '1' : null);
}

export function clearCell(cell) {
    if (cell.shown)
        clearPicture(cell);
    cell.shown = '';
    cell.asset = null;
    for (const old of cell.querySelectorAll('.mark'))
        old.remove();
}

/** What screen readers say of an asset. */
export function cellName(asset, dayText, position, count) {
    const kind = t(asset?.kind === 'video' ? 'kind.video' : 'kind.photo');
    const name = t('cell.name', {kind, day: dayText, position, count});
    return asset?.favourite ? `${name}, ${t('favourite')}` : name;
}

async function sharpen(cell, signal) {
    const {asset, shown} = cell;
    try {
        const bitmap = await fetchPicture(asset, 'preview', signal);
        if (cell.shown !== shown) {
            bitmap.close();
            return;
        }
        cell.loading.abort(); // the small one may still be on its way
        cell.density = devicePixelRatio;
        draw(cell, bitmap, {width: cell.offsetWidth * cell.density, height: cell.offsetHeight * cell.density});
    } catch {
        // The small one stays.
    }
}

async function sharpenAll(queue, signal) {
    for (let cell = queue.shift(); cell && !signal.aborted; cell = queue.shift())
        if (cell.shown) // else it left the window while it waited
            await sharpen(cell, signal);
}

/** Draws sharper pictures, some at a time, where they are shown larger than the small ones. */
export class Sharpener {
    #controller = new AbortController();

    /** The cells in view; others are given up. */
    look(cells) {
        this.#controller.abort();
        this.#controller = new AbortController();
        const queue = cells.filter((cell) => cell.shown && cell.density < devicePixelRatio &&
            Math.max(cell.offsetWidth, cell.offsetHeight) * devicePixelRatio > smallSide);
        for (let number = 0; number < mostSharpening; number += 1)
            sharpenAll(queue, this.#controller.signal);
    }
}
