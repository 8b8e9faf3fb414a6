// Zooming, panning and swiping a picture.

import {clamp, isRightToLeft, prefersCalm} from './dom.js';

const most = 12;
const swipeDistance = 70;

/**
 * Moves the children of a stage. Calls `onSwipe(step)` with 1 for the next picture and -1 for the one before,
 * `onClose` after a swipe down, and `onZoom(scale)` when the scale has changed.
 */
export class Zoom {
    #pointers = new Map();
    #x = 0;
    #y = 0;
    #swipe = 0;
    #drop = 0;
    #moved = 0;
    #lastTap = 0;

    constructor(stage, {onSwipe, onClose, onZoom}) {
        this.stage = stage;
        this.scale = 1;
        this.isEnabled = true;
        Object.assign(this, {onSwipe, onClose, onZoom});
        stage.addEventListener('pointerdown', (event) => this.#down(event));
        stage.addEventListener('pointermove', (event) => this.#move(event));
        stage.addEventListener('pointerup', (event) => this.#up(event));
        stage.addEventListener('pointercancel', (event) => this.#up(event));
        stage.addEventListener('wheel', (event) => this.#wheel(event), {passive: false});
        stage.addEventListener('dblclick', (event) => {
            if (this.isEnabled && event.pointerType !== 'touch')
                this.zoomTo(this.scale > 1 ? 1 : 2.5, event);
        });
    }

    reset() {
        this.scale = 1;
        this.#x = 0;
        this.#y = 0;
        this.#swipe = 0;
        this.#drop = 0;
        this.#pointers.clear();
        this.#apply(false);
    }

    /** To a scale around a point of the screen, or the middle. */
    zoomTo(scale, point = null, isSmooth = true) {
        if (!this.isEnabled)
            return;
        const {left, top, width, height} = this.stage.getBoundingClientRect();
        const x = (point?.clientX ?? left + width / 2) - left - width / 2;
        const y = (point?.clientY ?? top + height / 2) - top - height / 2;
        const next = clamp(scale, 1, most);
        this.#x = x - (x - this.#x) * next / this.scale;
        this.#y = y - (y - this.#y) * next / this.scale;
        this.scale = next;
        this.#apply(isSmooth);
        this.onZoom(next);
    }

    pan(x, y) {
        this.#x += x;
        this.#y += y;
        this.#apply(true);
    }

    #apply(isSmooth) {
        const {clientWidth, clientHeight} = this.stage;
        const wide = clientWidth * (this.scale - 1) / 2;
        const high = clientHeight * (this.scale - 1) / 2;
        this.#x = clamp(this.#x, -wide, wide);
        this.#y = clamp(this.#y, -high, high);
        this.stage.classList.toggle('zoomed', this.scale > 1);
        for (const child of this.stage.children) {
            child.style.transition = isSmooth && !prefersCalm() ? 'transform 160ms ease-out' : 'none';
            child.style.transform = this.scale === 1 && this.#swipe === 0 && this.#drop === 0 ? '' :
                `translate(${this.#x + this.#swipe}px, ${this.#y + this.#drop}px) scale(${this.scale})`;
        }
    }

    #down(event) {
        if (event.button !== 0 || event.target.closest('button, video, a'))
            return;
        this.stage.setPointerCapture(event.pointerId);
        this.#pointers.set(event.pointerId, event);
        this.#moved = 0;
    }

    #move(event) {
        const before = this.#pointers.get(event.pointerId);
        if (!before)
            return;
        const stepX = event.clientX - before.clientX;
        const stepY = event.clientY - before.clientY;
        this.#moved += Math.abs(stepX) + Math.abs(stepY);
        if (this.#pointers.size === 2 && this.isEnabled) {
            const [other] = [...this.#pointers.values()].filter(({pointerId}) => pointerId !== event.pointerId);
            const distance = (one) => Math.max(1, Math.hypot(one.clientX - other.clientX, one.clientY - other.clientY));
            const middle = {clientX: (event.clientX + other.clientX) / 2, clientY: (event.clientY + other.clientY) / 2};
            this.zoomTo(this.scale * distance(event) / distance(before), middle, false);
        } else if (this.scale > 1) {
            this.#x += stepX;
            this.#y += stepY;
            this.#apply(false);
        } else if (event.pointerType === 'touch') {
            if (Math.abs(this.#swipe) > 0 || Math.abs(stepX) >= Math.abs(stepY))
                this.#swipe += stepX;
            else
                this.#drop = Math.max(0, this.#drop + stepY);
            this.#apply(false);
        }
        this.#pointers.set(event.pointerId, event);
    }

    #up(event) {
        if (!this.#pointers.delete(event.pointerId))
            return;
        const swipe = this.#swipe;
        const drop = this.#drop;
        this.#swipe = 0;
        this.#drop = 0;
        if (Math.abs(swipe) > swipeDistance)
            this.onSwipe((swipe < 0) === !isRightToLeft() ? 1 : -1);
        else if (drop > 2 * swipeDistance)
            this.onClose();
        else
            this.#apply(true);
        if (event.pointerType === 'touch' && this.#moved < 8 && event.type === 'pointerup') {
            if (event.timeStamp - this.#lastTap < 300)
                this.zoomTo(this.scale > 1 ? 1 : 2.5, event);
            this.#lastTap = event.timeStamp;
        }
    }

    #wheel(event) {
        if (!this.isEnabled)
            return;
        event.preventDefault();
        this.zoomTo(this.scale * Math.exp(-event.deltaY * (event.ctrlKey ? 0.01 : 0.002)), event, false);
    }
}
