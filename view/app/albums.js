// The page of all albums, and the albums to which assets are dragged.

import * as api from './api.js';
import * as actions from './actions.js';
import {el, icon, lazyImage, textButton} from './dom.js';
import {draggedIds, isDragOfAssets} from './gestures.js';
import {moment, t} from './texts.js';

function cover({cover: id, v}) {
    const frame = el('span', {class: 'cover'});
    if (!id) {
        frame.append(icon('albums'));
        return frame;
    }
    frame.append(lazyImage(api.media({id, v}, 'preview'), () => frame.replaceChildren(icon('albums'))));
    return frame;
}

/** Lets assets be dropped on an element. */
function takeDrops(element, album, onDone) {
    element.addEventListener('dragover', (event) => {
        if (isDragOfAssets(event)) {
            event.preventDefault();
            event.dataTransfer.dropEffect = 'copy';
            element.classList.add('over');
        }
    });
    element.addEventListener('dragleave', () => element.classList.remove('over'));
    element.addEventListener('drop', async (event) => {
        element.classList.remove('over');
        const ids = draggedIds(event);
        if (ids.length === 0)
            return;
        event.preventDefault();
        event.stopPropagation();
        const target = album ?? await actions.createAlbum();
        if (target && await actions.addTo(target.id, target.title, ids))
            onDone();
    });
}

function albumLink(album) {
    return el('li', {}, el('a', {class: 'album', href: `#/album/${album.id}`}, cover(album),
        el('span', {class: 'album-title'}, album.isShared ? icon('people') : null, album.title),
        el('span', {class: 'quiet-text'}, t('photos.count', {n: album.count}))));
}

function bulletin({record, text, date, assets}, isFixed, onCleared) {
    const pictures = (assets ?? []).slice(0, 4).map((id) =>
        el('a', {href: `#/photos?open=${id}`, 'aria-label': t('key.open')},
           lazyImage(api.media({id}, 'small'))));
    const when = date ? el('p', {class: 'quiet-text'}, moment(date)) : null;
    const clear = async () => {
        await api.post('/api/bulletins/clear', {record}).catch(actions.fail);
        onCleared();
    };
    return el('li', {class: 'bulletin'}, el('div', {}, el('p', {}, text), when), ...pictures,
              isFixed ? null : textButton(t('bulletin.clear'), clear, {class: 'button quiet'}));
}

/** All albums: own ones, shared streams, and what was reported of these. */
export class AlbumsPage {
    constructor(isFixed) {
        this.isFixed = isFixed;
        this.element = el('div', {class: 'page'});
    }

    refresh() {
        return this.show();
    }

    async show() {
        const [albums, {bulletins}] = await Promise.all([
            actions.albums(), api.get('/api/bulletins').catch(() => ({bulletins: []}))]);
        const own = albums.filter(({isShared}) => !isShared);
        const shared = albums.filter(({isShared}) => isShared);
        const again = () => this.show().catch(actions.fail);
        const create = async () => {
            const album = await actions.createAlbum();
            if (album)
                location.hash = `#/album/${album.id}`;
        };
        const focused = this.element.contains(document.activeElement) && document.activeElement.getAttribute('href');
        this.element.replaceChildren(
            el('div', {class: 'page-head'}, el('h1', {}, t('albums')),
               this.isFixed ? null : textButton(t('album.new'), create, {class: 'button primary'})),
            own.length > 0 ? el('ul', {class: 'albums'}, ...own.map(albumLink)) :
                el('p', {class: 'page-empty'}, t('albums.empty')),
            ...(shared.length > 0 ? [el('h2', {}, t('albums.shared')),
                el('ul', {class: 'albums'}, ...shared.map(albumLink))] : []),
            ...(bulletins.length > 0 ? [el('h2', {}, t('bulletins')), el('ul', {class: 'bulletins'},
                ...bulletins.map((each) => bulletin(each, this.isFixed, again)))] : []));
        if (focused)
            this.element.querySelector(`a[href="${focused}"]`)?.focus();
    }
}

/** Where assets that are being dragged can be dropped. */
export class AlbumTray {
    constructor(onDone) {
        this.onDone = onDone;
        this.element = el('div', {class: 'tray', hidden: true});
    }

    async show() {
        const albums = (await actions.albums().catch(() => [])).filter(actions.isOwn).slice(0, 12);
        const target = (title, content, album) => {
            const place = el('div', {class: 'tray-album'}, content, el('span', {}, title));
            takeDrops(place, album, () => this.onDone());
            return place;
        };
        this.element.replaceChildren(
            target(t('album.new'), el('span', {class: 'cover'}, icon('plus')), null),
            ...albums.map((album) => target(album.title, cover(album), album)));
        this.element.hidden = false;
    }

    hide() {
        this.element.hidden = true;
    }
}
