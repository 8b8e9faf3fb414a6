// When and where the photos of a day were taken, from the library's moments.

import * as api from './api.js';
import {dayRange, place} from './texts.js';

const mostMonths = 240;
const months = new Map();

function otherMonth(text, step) {
    const [year, month] = text.split('-').map(Number);
    return new Date(Date.UTC(year, month - 1 + step, 1)).toISOString().slice(0, 7);
}

/** The moments that begin in a month. */
function momentsOf(month) {
    if (!months.has(month)) {
        if (months.size >= mostMonths)
            months.delete(months.keys().next().value);
        const range = {from: `${month}-01`, until: `${otherMonth(month, 1)}-01`};
        months.set(month, api.get('/api/moments', range).then(({moments}) => moments.map(({start, end, place: where}) =>
            ({first: start.slice(0, 10), last: end.slice(0, 10), where}))).catch(() => {
            months.delete(month);
            return [];
        }));
    }
    return months.get(month);
}

/** Forgets all, such as after a change of the library. */
export function forgetPlaces() {
    months.clear();
}

/** The place of some moments, or the stretch between their places; empty if it is not known. */
function placeOf(moments) {
    const places = moments.map(({where}) => where).filter(Boolean);
    if (places.length === 0)
        return '';
    const corner = (pick) => ({latitude: pick(...places.map(({latitude}) => latitude)),
                               longitude: pick(...places.map(({longitude}) => longitude))});
    const from = place(corner(Math.min));
    const to = place(corner(Math.max));
    return from === to ? from : `${from} – ${to}`;
}

/** The days of those moments of a day that last longer, and the place of all. Fetches a month at a time. */
export async function momentsOfDay(day) {
    const month = day.slice(0, 7);
    const near = await Promise.all([momentsOf(otherMonth(month, -1)), momentsOf(month)]);
    const moments = near.flat().filter(({first, last}) => first <= day && day <= last)
        .sort((one, other) => (one.first < other.first ? -1 : 1));
    const ranges = moments.filter(({first, last}) => first < last).map(({first, last}) => dayRange(first, last));
    return [...ranges, placeOf(moments)].filter(Boolean).join(' · ');
}
