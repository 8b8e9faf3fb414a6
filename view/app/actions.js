// What is done with assets, from wherever it is asked for. Each says how it ended, and gives false or null when it
// failed.

import * as api from './api.js';
import {askAlbum, askShift, askText, askVersion} from './dialogs.js';
import {detail, fail, say} from './status.js';
import {t} from './texts.js';

async function attempt(work) {
    try {
        return await work();
    } catch (error) {
        fail(error);
        return null;
    }
}

export const set = (ids, details) => attempt(async () => {
    await api.postInParts('/api/assets/set', ids, {details});
    return true;
});

export const rotate = (id, quarters) => attempt(() => api.post('/api/assets/rotate', {id, quarters}));

export const revert = (ids) => attempt(async () => {
    await api.postInParts('/api/assets/revert', ids);
    return true;
});

/** Moves assets to the trash; the message about it takes that back. */
export const remove = (ids) => attempt(async () => {
    const answers = await api.postInParts('/api/assets/delete', ids);
    const deleted = answers.flatMap((answer) => answer.deleted);
    const refused = answers.flatMap((answer) => answer.refused);
    if (deleted.length > 0)
        say(t('deleted', {n: deleted.length}), {text: t('undo'), press: () => restore(deleted)});
    if (refused.length > 0)
        say([t('not.deleted', {n: refused.length}), detail(refused[0].text)]);
    return deleted;
});

export const restore = (ids) => attempt(async () => {
    await api.postInParts('/api/trash/restore', ids);
    say(t('restored', {n: ids.length}));
    return true;
});

export const shiftDates = (ids) => attempt(async () => {
    const seconds = await askShift();
    if (seconds === null)
        return false;
    await api.postInParts('/api/assets/adjust-dates', ids, {seconds});
    say(t('shifted', {n: ids.length}), {text: t('undo'), press: () => attempt(() =>
        api.postInParts('/api/assets/adjust-dates', ids, {seconds: -seconds}))});
    return true;
});

function follow(address) {
    const link = document.createElement('a');
    link.href = address;
    link.download = '';
    document.body.append(link);
    link.click();
    link.remove();
}

/** Hands one asset to the browser's downloads as it is, several as an archive. Asks which version, if some have two. */
export const download = (assets) => attempt(async () => {
    const version = assets.some(({edited}) => edited) ? await askVersion() : 'original';
    if (version === null)
        return false;
    if (assets.length === 1) {
        follow(api.media(assets[0], version, {download: 1}));
        return true;
    }
    follow(await api.offerExport(assets.map(({id}) => id), version));
    return true;
});

export const copy = (text) => attempt(async () => {
    await navigator.clipboard.writeText(text);
    say(t('copied', {text}));
    return true;
});

export const albums = () => api.get('/api/albums').then((answer) => answer.albums);

/** Albums that the user fills, which excludes shared streams of others and those that the library fills itself. */
export const isOwn = ({isShared, kind}) => !isShared && (kind === 'album' || kind === 'user' || kind === undefined);

export const createAlbum = () => attempt(async () => {
    const title = await askText(t('album.new'), t('album.title'), t('album.create'));
    if (title === null)
        return null;
    const {id} = await api.post('/api/albums/create', {title});
    return {id, title};
});

export const addTo = (album, title, ids) => attempt(async () => {
    await api.postInParts('/api/albums/add', ids, {id: album}, 'assets');
    say(t('added', {n: ids.length, title}));
    return true;
});

export const addToAlbum = (ids) => attempt(async () => {
    const all = (await albums()).filter(isOwn);
    const chosen = await askAlbum(all);
    if (chosen === null)
        return false;
    const album = chosen === 'new' ? await createAlbum() : all.find(({id}) => id === chosen);
    return album ? addTo(album.id, album.title, ids) : false;
});

export const removeFrom = (album, ids) => attempt(async () => {
    await api.postInParts('/api/albums/remove', ids, {id: album}, 'assets');
    say(t('album.removed', {n: ids.length}), {text: t('undo'), press: () => attempt(() =>
        api.postInParts('/api/albums/add', ids, {id: album}, 'assets'))});
    return true;
});

export const renameAlbum = (album) => attempt(async () => {
    const title = await askText(t('album.rename'), t('album.title'), t('save'), album.title);
    if (title === null || title === album.title)
        return false;
    await api.post('/api/albums/rename', {id: album.id, title});
    return true;
});

export {fail, say};
