// Where the photos of a day were taken, from the library's moments.

import * as api from './api.js';
import {place} from './texts.js';

const mostMonths = 240;
const months = new Map();

function nextMonth(text) {
    const [year, month] = text.split('-').map(Number);
    return month === 12 ? `${year + 1}-01` : `${year}-${String(month + 1).padStart(2, '0')}`;
}

async function placesOfMonth(month) {
    const {moments} = await api.get('/api/moments', {from: `${month}-01`, until: `${nextMonth(month)}-01`});
    const days = new Map();
    for (const {start, place: where} of moments) {
        if (!where)
            continue;
        const day = start.slice(0, 10);
        if (!days.has(day))
            days.set(day, []);
        days.get(day).push(where);
    }
    return days;
}

/** Forgets all, such as after a change of the library. */
export function forgetPlaces() {
    months.clear();
}

/** The place of a day, or the stretch between its places; empty if it is not known. Fetches a month at a time. */
export async function placeOfDay(day) {
    const month = day.slice(0, 7);
    if (!months.has(month)) {
        if (months.size >= mostMonths)
            months.delete(months.keys().next().value);
        months.set(month, placesOfMonth(month).catch(() => {
            months.delete(month);
            return new Map();
        }));
    }
    const places = (await months.get(month)).get(day) ?? [];
    if (places.length === 0)
        return '';
    const corner = (pick) => ({latitude: pick(...places.map(({latitude}) => latitude)),
                               longitude: pick(...places.map(({longitude}) => longitude))});
    const from = place(corner(Math.min));
    const to = place(corner(Math.max));
    return from === to ? from : `${from} – ${to}`;
}
