// Follows what changes in the library, and whether it can be reached.

import * as api from './api.js';

const pauses = [500, 1000, 2000, 4000];

const wait = (milliseconds) => new Promise((resolve) => {
    const end = () => {
        clearTimeout(timer);
        removeEventListener('online', end);
        document.removeEventListener('visibilitychange', end);
        resolve();
    };
    const timer = setTimeout(end, milliseconds);
    addEventListener('online', end);
    document.addEventListener('visibilitychange', end);
});

/** Emits `changed` when anything may have changed, `away` with {error}, and `back`. */
export class Changes extends EventTarget {
    async follow() {
        let token;
        let albums; // their state
        let failures = 0;
        for (;;) {
            try {
                const answer = await api.get('/api/changes', {token});
                const wasAway = failures > 0;
                failures = 0;
                if (wasAway)
                    this.dispatchEvent(new Event('back'));
                const areOthers = answer.albums !== undefined && albums !== undefined && answer.albums !== albums;
                if (answer.tooOld || wasAway || areOthers || (token !== undefined && answer.changes.length > 0))
                    this.dispatchEvent(new Event('changed'));
                token = answer.token;
                albums = answer.albums ?? albums;
            } catch (error) {
                // A short pause of the service goes unnoticed.
                if (failures > 0 || error.code !== 'restarting')
                    this.dispatchEvent(new CustomEvent('away', {detail: {error}}));
                await wait(pauses[Math.min(failures, pauses.length - 1)]);
                failures += 1;
            }
        }
    }
}
