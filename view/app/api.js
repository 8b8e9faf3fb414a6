// Requests to the server of `wickerlane view`.

export class ApiError extends Error {
    constructor(status, code, text) {
        super(text);
        this.status = status;
        this.code = code;
    }
}

let token = '';

/** Needed for changes; /api/session has it. */
export function setToken(value) {
    token = value;
}

function address(path, parameters) {
    const query = new URLSearchParams();
    for (const [name, value] of Object.entries(parameters ?? {}))
        if (value !== undefined && value !== null && value !== '')
            query.set(name, value);
    const text = query.toString();
    return text ? `${path}?${text}` : path;
}

async function answerOf(request) {
    let answer;
    try {
        answer = await request;
    } catch (error) {
        if (error.name === 'AbortError')
            throw error;
        throw new ApiError(0, 'noServer', '');
    }
    let body = null;
    try {
        body = await answer.json();
    } catch (error) {
        if (error.name === 'AbortError')
            throw error;
    }
    if (answer.ok && body !== null)
        return body;
    const {code, text} = body?.error ?? {};
    throw new ApiError(answer.status, code ?? (answer.status === 403 ? 'denied' : 'failed'), text ?? '');
}

export function get(path, parameters, {signal} = {}) {
    return answerOf(fetch(address(path, parameters), {signal}));
}

/** Emits `made` after each change that the page made; what the library reports of albums comes late. */
export const changes = new EventTarget();

export async function post(path, body = {}) {
    const answer = await answerOf(fetch(path, {
        method: 'POST',
        headers: {'Content-Type': 'application/json', 'X-Wickerlane-Token': token},
        body: JSON.stringify(body),
    }));
    changes.dispatchEvent(new Event('made'));
    return answer;
}

const mostIds = 5000;

/** Posts a long list of IDs in several requests, one after another. */
export async function postInParts(path, ids, body = {}, name = 'ids') {
    const answers = [];
    for (let begin = 0; begin < ids.length; begin += mostIds)
        answers.push(await post(path, {...body, [name]: ids.slice(begin, begin + mostIds)}));
    return answers;
}

/** The address of an archive of assets. */
export async function offerExport(ids, version) {
    let href;
    for (let begin = 0; begin < ids.length; begin += mostIds)
        ({href} = await post('/api/export', {ids: ids.slice(begin, begin + mostIds), version, href}));
    return href;
}

/**
 * Sends a file; with it a `second` one that may be of the same shot, and the metadata of both, where there are such.
 * `onProgress` gets the number of bytes that have been sent.
 */
export function upload({file, ...others}, {album, signal, onProgress}) {
    const parameters = {name: file.name, album};
    const parts = ['second', 'sidecar', 'secondSidecar'].filter((part) => others[part]);
    for (const part of parts) {
        parameters[part] = others[part].name;
        parameters[`${part}Bytes`] = others[part].size;
    }
    return new Promise((resolve, reject) => {
        const request = new XMLHttpRequest();
        request.open('POST', address('/api/import', parameters));
        request.setRequestHeader('X-Wickerlane-Token', token);
        request.setRequestHeader('Content-Type', 'application/octet-stream');
        request.responseType = 'json';
        request.upload.addEventListener('progress', (event) => onProgress(event.loaded));
        request.addEventListener('load', () => {
            const error = request.response?.error;
            if (request.status < 300 && request.response)
                resolve(request.response);
            else
                reject(new ApiError(request.status, error?.code ?? 'failed', error?.text ?? ''));
        });
        request.addEventListener('error', () => reject(new ApiError(0, 'noServer', '')));
        signal.addEventListener('abort', () => {
            request.abort();
            reject(signal.reason);
        }, {once: true});
        request.send(new Blob([file, ...parts.map((part) => others[part])]));
    });
}

/** The address of a picture of an asset: small, preview, large, full, original or edited. */
export function media({id, v}, size, parameters = {}) {
    return address(`/media/${id}/${size}`, {v, ...parameters});
}
