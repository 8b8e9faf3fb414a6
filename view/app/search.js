// What people write into the search box, and the filter that it means.

import {monthNames, day, month as monthText, place, t, year as yearText} from './texts.js';

const pad = (value, length = 2) => String(value).padStart(length, '0');

/** A year, a month or a day as [from, until). Null if there is no such one. */
export function period(year, month = 0, dayOfMonth = 0) {
    if (year < 1000 || year > 9998 || month > 12 || dayOfMonth > 31)
        return null;
    const text = (date) => `${pad(date.getUTCFullYear(), 4)}-${pad(date.getUTCMonth() + 1)}-${pad(date.getUTCDate())}`;
    const at = (...parts) => new Date(Date.UTC(...parts));
    const begin = at(year, Math.max(0, month - 1), dayOfMonth || 1);
    if (dayOfMonth && begin.getUTCDate() !== dayOfMonth)
        return null;
    const end = dayOfMonth ? at(year, month - 1, dayOfMonth + 1) : month ? at(year, month, 1) : at(year + 1, 0, 1);
    return {from: text(begin), until: text(end),
            label: dayOfMonth ? day(text(begin)) : month ? monthText(text(begin)) : yearText(text(begin))};
}

// Also the digits of Arabic, and the full-width ones of Japanese keyboards.
function plainDigits(text) {
    return text.replace(/[٠-٩]/g, (digit) => String(digit.charCodeAt(0) - 0x660))
        .replace(/[０-９]/g, (digit) => String(digit.charCodeAt(0) - 0xff10));
}

function periodIn(word) {
    const parts = /^(\d{4})(?:-(\d{1,2})(?:-(\d{1,2}))?)?$/.exec(word) ??
        /^(\d{4})年(?:(\d{1,2})月(?:(\d{1,2})日)?)?$/.exec(word);
    return parts ? period(...parts.slice(1).map((part) => Number(part ?? 0))) : null;
}

function stretchIn(word) {
    const [first, last, ...more] = word.split('..');
    const begin = periodIn(first);
    const end = last ? periodIn(last) : null;
    if (!begin || !end || more.length > 0 || begin.from > end.until)
        return null;
    return {from: begin.from, until: end.until, label: `${begin.label} – ${end.label}`};
}

/** A date of several words, such as "5 August 2019", at the start of a list of words: [period, number of words]. */
function spokenPeriod(words, months) {
    let year = 0;
    let month = 0;
    let dayOfMonth = 0;
    let used = 0;
    for (const raw of words.slice(0, 5)) {
        const word = raw.replace(/[.,،]$/, '');
        const asNumber = /^\d+(st|nd|rd|th|er)?$/.test(word) ? parseInt(word, 10) : 0;
        if (!month && months.has(word))
            month = months.get(word);
        else if (!year && /^\d{4}$/.test(word))
            year = asNumber;
        else if (!dayOfMonth && asNumber > 0 && asNumber <= 31)
            dayOfMonth = asNumber;
        else if (!(used > 0 && ['de', 'of'].includes(word)))
            break;
        used += 1;
        if (year && month)
            break;
    }
    const found = year && month ? period(year, month, dayOfMonth) : null;
    return found ? [found, used] : null;
}

function circleIn(text) {
    const parts = /^(-?\d+(?:\.\d+)?),(-?\d+(?:\.\d+)?)(?:,(\d+(?:\.\d+)?)(km|m)?)?$/.exec(text);
    if (!parts)
        return null;
    const [latitude, longitude] = [Number(parts[1]), Number(parts[2])];
    if (Math.abs(latitude) > 90 || Math.abs(longitude) > 180)
        return null;
    const meters = parts[3] ? Number(parts[3]) * (parts[4] === 'm' ? 1 : 1000) : 1000;
    return {near: `${latitude},${longitude},${meters}`, label: t('chip.near', {place: place({latitude, longitude})})};
}

/** Coordinates as they are copied from somewhere, at the start of a list of words: [circle, number of words]. */
function plainCircle(words) {
    for (const used of [1, 2]) {
        const text = words.slice(0, used).join('');
        const circle = /^-?\d+\.\d+,-?\d+\.\d+$/.test(text) ? circleIn(text) : null;
        if (circle)
            return [circle, used];
    }
    return null;
}

const answers = new Map([['yes', 1], ['true', 1], ['1', 1], ['no', 0], ['false', 0], ['0', 0]]);

/** What `key:value` means: {filter, label}; null if it means nothing. */
function meaning(key, value, albums) {
    const flag = (name, no) => {
        const isSet = answers.get(value.toLowerCase());
        return isSet === undefined ? null : {filter: {[name]: isSet}, label: t(`chip.${isSet ? name : no}`)};
    };
    switch (key) {
    case 'kind':
        return ['photo', 'video'].includes(value) ? {filter: {kind: value}, label: t(`chip.${value}`)} : null;
    case 'favourite':
        return flag(key, 'notFavourite');
    case 'edited':
        return flag(key, 'notEdited');
    case 'problem':
        return flag(key, 'notProblem');
    case 'hidden':
        return flag(key, 'notHidden');
    case 'from': {
        const begin = periodIn(value);
        return begin ? {filter: {from: begin.from}, label: t('chip.from', {period: begin.label})} : null;
    }
    case 'to': {
        const end = periodIn(value);
        return end ? {filter: {until: end.until}, label: t('chip.to', {period: end.label})} : null;
    }
    case 'rating':
        return /^[1-5]$/.test(value) ? {filter: {rating: value}, label: t('chip.rating', {n: Number(value)})} : null;
    case 'camera':
    case 'name':
    case 'format':
        return value ? {filter: {[key]: value}, label: `${t(`chip.${key}`)}: ${value}`} : null;
    case 'near': {
        const circle = circleIn(value);
        return circle ? {filter: {near: circle.near}, label: circle.label} : null;
    }
    case 'album': {
        const album = albums.find(({title}) => title.toLowerCase() === value.toLowerCase());
        return album ? {filter: {album: album.id}, label: album.title} : null;
    }
    default:
        return null;
    }
}

/**
 * The filter that a text means, its `chips` ({label, raw}, where `raw` is the part of the text), and the words that
 * mean nothing else and are looked for in texts.
 */
export function parse(text, albums = [], months = monthNames()) {
    const filter = {};
    const chips = [];
    const words = [];
    const raw = plainDigits(text).match(/[^\s:"]+:"[^"]*"?|"[^"]*"?|\S+/g) ?? [];
    const lower = raw.map((word) => word.toLowerCase());
    for (let index = 0; index < raw.length; index += 1) {
        const spoken = spokenPeriod(lower.slice(index), months);
        const named = /^([a-z]+):(.*)$/i.exec(raw[index]);
        const dates = spoken?.[0] ?? periodIn(lower[index]) ?? stretchIn(lower[index]);
        if (dates && !filter.from && !filter.until) {
            const used = spoken ? spoken[1] : 1;
            filter.from = dates.from;
            filter.until = dates.until;
            chips.push({label: dates.label, raw: raw.slice(index, index + used).join(' ')});
            index += used - 1;
            continue;
        }
        const circle = plainCircle(raw.slice(index, index + 2));
        if (circle) {
            filter.near = circle[0].near;
            chips.push({label: circle[0].label, raw: raw.slice(index, index + circle[1]).join(' ')});
            index += circle[1] - 1;
            continue;
        }
        const found = named ? meaning(named[1].toLowerCase(), named[2].replaceAll('"', ''), albums) : null;
        if (found) {
            Object.assign(filter, found.filter);
            chips.push({label: found.label, raw: raw[index]});
        } else {
            words.push(raw[index].replaceAll('"', ''));
        }
    }
    const rest = words.filter(Boolean).join(' ');
    if (rest)
        filter.text = rest;
    return {filter, chips, words: rest};
}

/** The text without one of its parts. */
export function without(text, raw) {
    return plainDigits(text).split(/\s+/).join(' ').replace(raw, '').replace(/\s+/g, ' ').trim();
}
