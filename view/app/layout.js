// Where each picture of a timeline stands. Pure arithmetic on typed arrays: one pass over all assets.

/**
 * A justified grid by sections. Short sections stand side by side; a section that is longer than a line has lines of
 * its own. All positions are in pixels from the start edge, and whole numbers.
 *
 * A row is one line of pictures of one section: `rowFirst[r]` up to `rowFirst[r + 1]` are its assets. Rows and sections
 * are ordered by their tops.
 */
export class Layout {
    constructor(sections, width, {target, gap, heading, sectionGap, between, leastHeading}) {
        let count = 0;
        for (const section of sections)
            count += section.count;
        this.count = count;
        this.width = width;
        this.gap = gap;
        this.heading = heading;
        this.sections = sections;
        this.aspects = new Float32Array(count);
        const length = sections.length;
        this.sectionFirst = new Uint32Array(length + 1);
        this.sectionTop = new Float64Array(length);
        this.sectionLeft = new Float32Array(length);
        this.sectionWidth = new Float32Array(length);
        this.sectionRow = new Uint32Array(length + 1);
        const rows = {first: [], top: [], height: [], unit: [], left: [], width: [], section: []};

        let top = 0;
        let first = 0;
        // The short sections of the line that is being filled.
        let line = [];
        let filled = 0;
        const addRow = (section, begin, rowTop, left, unit, rowWidth) => {
            rows.first.push(begin);
            rows.top.push(rowTop);
            rows.height.push(Math.round(unit));
            rows.unit.push(unit);
            rows.left.push(left);
            rows.width.push(rowWidth);
            rows.section.push(section);
        };
        const endLine = (isLast) => {
            if (line.length === 0)
                return;
            let flexible = 0;
            let fixed = sectionGap * (line.length - 1);
            for (const each of line) {
                const isNarrow = each.natural < leastHeading;
                flexible += isNarrow ? 0 : each.sum;
                fixed += isNarrow ? leastHeading : gap * (each.count - 1);
            }
            let unit = target;
            const filling = flexible > 0 ? (width - fixed) / flexible : Infinity;
            if (!isLast && filling <= target * 1.3)
                unit = filling;
            const height = Math.round(unit);
            let left = 0;
            for (const each of line) {
                const isNarrow = each.natural < leastHeading;
                const own = isNarrow ? Math.min(unit, (leastHeading - gap * (each.count - 1)) / each.sum) : unit;
                const rowWidth = each.sum * own + gap * (each.count - 1);
                const sectionWidth = Math.max(rowWidth, isNarrow ? leastHeading : 0);
                this.sectionTop[each.section] = top;
                this.sectionLeft[each.section] = left;
                this.sectionWidth[each.section] = sectionWidth;
                this.sectionRow[each.section] = rows.first.length;
                addRow(each.section, each.first, top + heading, left, own, rowWidth);
                left += sectionWidth + sectionGap;
            }
            top += heading + height + between;
            line = [];
            filled = 0;
        };

        for (let section = 0; section < length; section += 1) {
            const {count: own, shapes} = sections[section];
            this.sectionFirst[section] = first;
            let sum = 0;
            for (let index = 0; index < own; index += 1) {
                const aspect = shapes[index] ? Math.min(Math.max(shapes[index] / 1000, 0.5), 3) : 1;
                this.aspects[first + index] = aspect;
                sum += aspect;
            }
            const natural = sum * target + gap * (own - 1);
            if (natural <= width) {
                const taken = Math.max(natural, Math.min(leastHeading, width));
                if (line.length > 0 && filled + sectionGap + taken > width)
                    endLine(false);
                filled += (line.length > 0 ? sectionGap : 0) + taken;
                line.push({section, first, count: own, sum, natural});
            } else {
                endLine(true);
                this.sectionTop[section] = top;
                this.sectionWidth[section] = width;
                this.sectionRow[section] = rows.first.length;
                top += heading;
                const end = first + own;
                let begin = first;
                while (begin < end) {
                    let inRow = 0;
                    let next = begin;
                    let rowSum = 0;
                    for (; next < end; next += 1) {
                        const more = rowSum + this.aspects[next];
                        const room = width - gap * inRow;
                        if (more * target > room) {
                            // The row is lower with this one and higher without it: what is nearer to the target stays.
                            const lower = room / more;
                            const higher = inRow > 0 ? (room + gap) / rowSum : Infinity;
                            if (target / lower <= higher / target) {
                                rowSum = more;
                                inRow += 1;
                                next += 1;
                            }
                            break;
                        }
                        rowSum = more;
                        inRow += 1;
                    }
                    const room = width - gap * (inRow - 1);
                    const filling = room / rowSum;
                    const isFull = next < end || filling <= target * 1.15;
                    const unit = isFull ? filling : target;
                    addRow(section, begin, top, 0, unit, isFull ? width : rowSum * unit + gap * (inRow - 1));
                    top += Math.round(unit) + gap;
                    begin = next;
                }
                top += between - gap;
            }
            first += own;
        }
        endLine(true);
        this.sectionFirst[length] = first;
        this.rowCount = rows.first.length;
        this.sectionRow[length] = this.rowCount;
        this.rowFirst = Uint32Array.from([...rows.first, first]);
        this.rowTop = Float64Array.from(rows.top);
        this.rowHeight = Float32Array.from(rows.height);
        this.rowUnit = Float64Array.from(rows.unit);
        this.rowLeft = Float32Array.from(rows.left);
        this.rowWidth = Float32Array.from(rows.width);
        this.rowSection = Uint32Array.from(rows.section);
        this.height = top;
    }

    /** Whether a row of another layout is the same here: at the same place, with pictures of the same shapes. */
    hasRowOf(other, row) {
        if (this.width !== other.width || row >= Math.min(this.rowCount, other.rowCount))
            return false;
        const first = this.rowFirst[row];
        const end = this.rowFirst[row + 1];
        if (first !== other.rowFirst[row] || end !== other.rowFirst[row + 1])
            return false;
        for (let index = first; index < end; index += 1)
            if (this.aspects[index] !== other.aspects[index])
                return false;
        return ['rowSection', 'rowTop', 'rowHeight', 'rowUnit', 'rowLeft'].every((name) =>
            this[name][row] === other[name][row]);
    }

    hasSectionOf(other, section) {
        return this.sections[section]?.start === other.sections[section]?.start &&
            ['sectionRow', 'sectionLeft', 'sectionWidth'].every((name) => this[name][section] === other[name][section]);
    }

    /** The rows that reach into the stretch from `begin` to `end`: [first, end). */
    rowsBetween(begin, end) {
        // Rows of a line have nearly the same height, so that a row that ends later begins later.
        let first = upperBound(this.rowTop, begin, this.rowCount);
        while (first > 0 && this.rowTop[first - 1] + this.rowHeight[first - 1] > begin)
            first -= 1;
        return [first, upperBound(this.rowTop, end, this.rowCount)];
    }

    sectionOf(index) {
        return upperBound(this.sectionFirst, index, this.sections.length) - 1;
    }

    /** The section that stands at a height. */
    sectionAt(top) {
        return Math.max(0, upperBound(this.sectionTop, top, this.sections.length) - 1);
    }

    rowOf(index) {
        return upperBound(this.rowFirst, index, this.rowCount) - 1;
    }

    /** Calls `each(index, left, width)` for the pictures of a row. */
    eachOf(row, each) {
        const unit = this.rowUnit[row];
        let edge = this.rowLeft[row];
        for (let index = this.rowFirst[row]; index < this.rowFirst[row + 1]; index += 1) {
            const next = edge + this.aspects[index] * unit;
            const left = Math.round(edge);
            each(index, left, Math.round(next) - left);
            edge = next + this.gap;
        }
    }

    rectOf(index) {
        const row = this.rowOf(index);
        let rect = null;
        this.eachOf(row, (each, left, width) => {
            if (each === index)
                rect = {left, width, top: this.rowTop[row], height: this.rowHeight[row]};
        });
        return rect;
    }

    /** The picture above (step -1) or below (step 1) a picture; the picture itself if there is none. */
    neighbour(index, step) {
        const {left, width} = this.rectOf(index);
        const middle = left + width / 2;
        const top = this.rowTop[this.rowOf(index)];
        let row = this.rowOf(index);
        while (row >= 0 && row < this.rowCount && this.rowTop[row] === top)
            row += step;
        if (row < 0 || row >= this.rowCount)
            return index;
        const line = this.rowTop[row];
        let best = index;
        let distance = Infinity;
        for (; row >= 0 && row < this.rowCount && this.rowTop[row] === line; row += step) {
            this.eachOf(row, (each, cellLeft, cellWidth) => {
                const away = Math.abs(cellLeft + cellWidth / 2 - middle);
                if (away < distance) {
                    distance = away;
                    best = each;
                }
            });
        }
        return best;
    }

    /** The pictures that a rectangle touches, as ranges [first, end). */
    rangesIn({left, right, top, bottom}) {
        const ranges = [];
        const [first, end] = this.rowsBetween(top, bottom);
        for (let row = first; row < end; row += 1) {
            this.eachOf(row, (index, cellLeft, cellWidth) => {
                if (cellLeft >= right || cellLeft + cellWidth <= left)
                    return;
                const last = ranges.at(-1);
                if (last && last[1] === index)
                    last[1] += 1;
                else
                    ranges.push([index, index + 1]);
            });
        }
        return ranges;
    }
}

/** How many of the first `count` ascending values are at most `value`. */
export function upperBound(values, value, count) {
    let low = 0;
    let high = count;
    while (low < high) {
        const middle = (low + high) >>> 1;
        if (values[middle] <= value)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}
