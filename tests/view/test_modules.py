"""What the page computes: positions, scrolling, and the meaning of what one searches for; within the browser."""

import json
import pathlib
import re

from browser import Browser

TEXTS = pathlib.Path(__file__).parents[2] / 'view/texts'
LANGUAGES = ('en', 'de', 'fr', 'ja', 'pt-BR', 'ar')


def test_each_layout_shows_everything_once_and_fits(page: Browser) -> None:
    faults = page.module('''
        const {Layout} = await import('/app/layout.js');
        const faults = [];
        let seed = 7;
        const chance = (most) => (seed = seed * 48271 % 2147483647) % most;
        const libraries = [[], [1], [0], [3], Array.from({length: 400}, () => 1 + chance(4)), [20000],
                           Array.from({length: 60}, () => chance(120))];
        for (const counts of libraries) for (const width of [120, 336, 700, 1216, 3000]) {
            const sections = counts.filter(Boolean).map((count, index) => ({start: String(index), count,
                shapes: Uint16Array.from({length: count}, () => [0, 100, 667, 1000, 1500, 9000][chance(6)])}));
            const layout = new Layout(sections, width, {target: 200, gap: 6, heading: 60, sectionGap: 20, between: 10,
                                                        leastHeading: 150});
            const say = (what) => faults.push(`${counts.length} ${width}: ${what}`);
            let seen = 0;
            for (let row = 0; row < layout.rowCount; row += 1) {
                let edge = -Infinity;
                layout.eachOf(row, (index, left, cell) => {
                    if (index !== seen) say(`${index} instead of ${seen}`);
                    seen += 1;
                    if (left < edge) say(`${index} overlaps`);
                    if (left + cell > Math.max(width, 600) + 1) say(`${index} is outside`);
                    if (cell < 1) say(`${index} has no width`);
                    edge = left + cell;
                    if (layout.rowOf(index) !== row) say(`${index} is in another row`);
                });
                if (row > 0 && layout.rowTop[row] < layout.rowTop[row - 1]) say(`row ${row} is not in order`);
                if (layout.rowHeight[row] > 620) say(`row ${row} is ${layout.rowHeight[row]} high`);
                const [first, end] = layout.rowsBetween(layout.rowTop[row], layout.rowTop[row] + 1);
                if (row < first || row >= end) say(`row ${row} is not found at its top`);
            }
            if (seen !== layout.count) say(`${seen} of ${layout.count}`);
            const last = layout.rowCount - 1;
            if (last >= 0 && layout.rowTop[last] + layout.rowHeight[last] > layout.height) say('it is too low');
        }
        return faults;''')
    assert faults == []


def test_what_the_page_begins_with_is_fetched_early_and_once(page: Browser) -> None:
    html = (TEXTS.parent / 'index.html').read_text(encoding='utf-8')
    early = re.findall(r'<link rel="modulepreload" href="/app/(.*)">|<script type="module" src="/app/(.*)">', html)
    assert sorted(filter(None, sum(early, ()))) == sorted(path.name for path in TEXTS.parent.glob('app/*.js'))
    asked = page.run("""return performance.getEntriesByType('resource').map(({name}) => new URL(name).pathname)
        .filter((path) => ['/api/session', '/api/sections'].includes(path)).sort()""")
    assert asked == ['/api/sections', '/api/session'] # else what was preloaded is not what is used


def test_other_albums_are_a_change(page: Browser) -> None:
    heard = page.module('''
        const {Changes} = await import('/app/changes.js');
        const albums = ['a', 'a', 'b', undefined, 'b', 'a'];
        const changes = new Changes();
        let count = 0;
        changes.addEventListener('changed', () => { count += 1; });
        const heard = [];
        const real = window.fetch;
        const toldAll = new Promise((resolve) => {
            window.fetch = (address, options) => {
                if (address !== '/api/changes' && !address.endsWith('token=test')) // of the page itself
                    return real(address, options);
                heard.push(count);
                if (heard.length > albums.length) {
                    resolve();
                    return new Promise(() => {});
                }
                const answer = {token: 'test', changes: [], albums: albums[heard.length - 1]};
                return Promise.resolve(new Response(JSON.stringify(answer)));
            };
        });
        changes.follow();
        await toldAll;
        window.fetch = real;
        return heard;''')
    assert heard == [0, 0, 0, 1, 1, 1, 2]


def test_content_higher_than_an_element_can_be_is_scrolled_through(page: Browser) -> None:
    steps = page.module('''
        const {Scroller} = await import('/app/scroller.js');
        const element = document.createElement('div');
        const spacer = document.createElement('div');
        Object.assign(element.style, {position: 'absolute', top: 0, width: '100px', height: '500px',
                                      overflowY: 'scroll'});
        element.append(spacer);
        document.body.append(element);
        const next = () => new Promise((resolve) =>
            element.addEventListener('scroll', () => setTimeout(resolve), {once: true}));
        const scroller = new Scroller(element, spacer, () => {});
        const height = 40_000_000;
        scroller.setHeight(height);
        const seen = [spacer.offsetHeight < height];
        const move = async (work) => {
            const moved = next();
            work();
            await moved;
            return scroller.top;
        };
        // A small step moves by as many pixels, also after a rest.
        await move(() => scroller.scrollTo(20_000_000));
        seen.push(scroller.top);
        seen.push(await move(() => { element.scrollTop += 300; }));
        scroller.rest();
        seen.push(scroller.top);
        seen.push(scroller.top - scroller.offset === element.scrollTop);
        // The ends of the bar are the ends of the content.
        seen.push(await move(() => { element.scrollTop = spacer.offsetHeight; }) === height - 500);
        seen.push(await move(() => { element.scrollTop = 0; }));
        // Close to the start the content does not run out.
        await move(() => scroller.scrollTo(3000));
        for (let step = 0; step < 60 && scroller.top > 0; step += 1)
            await move(() => { element.scrollTop -= 100; });
        seen.push(scroller.top);
        element.remove();
        return seen;''')
    assert steps == [True, 20_000_000, 20_000_300, 20_000_300, True, True, 0, 0]


def test_pictures_that_leave_the_window_do_not_stop_the_others_from_getting_sharp(page: Browser) -> None:
    sharp = page.module('''
        const {bindCell, clearCell, newCell, Sharpener} = await import('/app/cells.js');
        const {assets} = await (await fetch('/api/grid?kind=photo&limit=9')).json();
        const cells = assets.map((asset) => {
            const cell = newCell();
            Object.assign(cell.style, {position: 'fixed', width: '300px', height: '300px'});
            document.body.append(cell);
            bindCell(cell, asset, true);
            return cell;
        });
        new Sharpener().look(cells);
        // Four are under way; these four were to follow.
        cells.slice(4, 8).forEach(clearCell);
        const wanted = [...cells.slice(0, 4), cells[8]];
        for (let left = 600; left > 0 && wanted.some(({density}) => density === 0); left -= 1)
            await new Promise((resolve) => setTimeout(resolve, 50));
        cells.forEach((cell) => cell.remove());
        return cells.map(({density}) => density > 0);''')
    assert sharp == [True] * 4 + [False] * 4 + [True]


def test_a_large_export_is_asked_for_in_parts(page: Browser) -> None:
    href, asked = page.module('''
        const {offerExport} = await import('/app/api.js');
        const asked = [];
        const fetch = window.fetch;
        window.fetch = async (address, request) => {
            if (address !== '/api/export')
                return fetch(address, request);
            const {ids, version, href} = JSON.parse(request.body);
            asked.push([ids[0], ids.length, version, href ?? null]);
            return new Response('{"href": "/export/1"}');
        };
        try {
            return [await offerExport(Array.from({length: 11000}, (_, index) => index), 'edited'), asked];
        } finally {
            window.fetch = fetch;
        }''')
    assert href == '/export/1'
    assert asked == [[0, 5000, 'edited', None], [5000, 5000, 'edited', href], [10000, 1000, 'edited', href]]


def test_each_day_of_a_moment_has_its_place_and_days(page: Browser) -> None:
    days = ('2031-01-30', '2031-01-31', '2031-02-01', '2031-02-02', '2030-12-31', '2031-01-01')
    shown = page.module('''
        const {momentsOfDay} = await import('/app/places.js');
        const moments = [
            {start: '2031-02-01T20:00:00', end: '2031-02-01T21:00:00', place: {latitude: 48, longitude: 8}},
            {start: '2031-01-31T09:00:00', end: '2031-02-01T18:00:00', place: {latitude: 47, longitude: 8}},
            {start: '2030-12-31T23:00:00', end: '2031-01-01T01:00:00'}];
        const fetch = window.fetch;
        window.fetch = async (address) => {
            const query = new URL(address, location.href).searchParams;
            return new Response(JSON.stringify({moments: moments.filter(({start}) =>
                start >= query.get('from') && start < query.get('until'))}));
        };
        try {
            const texts = await Promise.all(values[0].map(momentsOfDay));
            return texts.map((text) => text.normalize('NFKD').replace(/[\u2066\u2069]/g, ''));
        } finally {
            window.fetch = fetch;
        }''', days)
    moment, year = 'Jan 31 – Feb 1', 'Dec 31, 2030 – Jan 1, 2031'
    assert shown == ['', f'{moment} · 47.00° N, 8.00° E', f'{moment} · 47.00° N, 8.00° E – 48.00° N, 8.00° E', '',
                     year, year]


SEARCHES: list[tuple[str, str, dict[str, object], str]] = [
    ('en', '2019', {'from': '2019-01-01', 'until': '2020-01-01'}, ''),
    ('en', 'August 2019', {'from': '2019-08-01', 'until': '2019-09-01'}, ''),
    ('en', 'lake 5 august 2019 red', {'from': '2019-08-05', 'until': '2019-08-06'}, 'lake red'),
    ('en', '2019-12-31', {'from': '2019-12-31', 'until': '2020-01-01'}, ''),
    ('en', '2018..2019-06', {'from': '2018-01-01', 'until': '2019-07-01'}, ''),
    ('en', '31 february 2019', {'from': '2019-02-01', 'until': '2019-03-01'}, '31'),
    ('de', '5. März 2021', {'from': '2021-03-05', 'until': '2021-03-06'}, ''),
    ('de', 'december 2020', {'from': '2020-12-01', 'until': '2021-01-01'}, ''),
    ('fr', 'août 2019', {'from': '2019-08-01', 'until': '2019-09-01'}, ''),
    ('pt-BR', '7 de setembro de 2020', {'from': '2020-09-07', 'until': '2020-09-08'}, ''),
    ('ja', '2019年8月', {'from': '2019-08-01', 'until': '2019-09-01'}, ''),
    ('ar', 'أغسطس ٢٠١٩', {'from': '2019-08-01', 'until': '2019-09-01'}, ''),
    ('en', 'kind:video problem:yes favourite:yes', {'kind': 'video', 'problem': 1, 'favourite': 1}, ''),
    ('en', 'near:47.4,8.5', {'near': '47.4,8.5,1000'}, ''),
    ('en', 'near:-47.4,8.5,300m', {'near': '-47.4,8.5,300'}, ''),
    ('en', 'near:147.4,8.5', {}, 'near:147.4,8.5'),
    ('en', '47.4,8.5 lake', {'near': '47.4,8.5,1000'}, 'lake'),
    ('en', 'lake -47.40000, 8.50000', {'near': '-47.4,8.5,1000'}, 'lake'),
    ('en', '147.4,8.5 3,4', {}, '147.4,8.5 3,4'),
    ('en', 'from:2019', {'from': '2019-01-01'}, ''),
    ('en', 'from:2018-03 to:2019', {'from': '2018-03-01', 'until': '2020-01-01'}, ''),
    ('en', 'from:soon to:', {}, 'from:soon to:'),
    ('en', 'edited:no favourite:no problem:no hidden:no',
     {'edited': 0, 'favourite': 0, 'problem': 0, 'hidden': 0}, ''),
    ('en', 'edited:maybe', {}, 'edited:maybe'),
    ('en', 'camera:"Old Box" rating:3 boat', {'camera': 'Old Box', 'rating': '3'}, 'boat'),
    ('en', 'album:"red lakes"', {'album': 'A1'}, ''),
    ('en', 'album:unknown kind:sound rating:9', {}, 'album:unknown kind:sound rating:9'),
    ('en', '"august 2019"', {}, 'august 2019'),
]


def test_what_is_searched_for(page: Browser) -> None:
    results = page.module('''
        const {loadTexts, monthNames} = await import('/app/texts.js');
        const {parse} = await import('/app/search.js');
        const results = [];
        for (const [language, text] of values[0]) {
            await loadTexts(language);
            const {filter, chips} = parse(text, [{id: 'A1', title: 'Red Lakes'}], monthNames());
            results.push({filter, isNamed: chips.every(({label}) => label && !label.includes('chip.'))});
        }
        return results;''', [each[:2] for each in SEARCHES])
    for (language, text, meaning, words), result in zip(SEARCHES, results):
        expected = {**meaning, **({'text': words} if words else {})}
        assert result == {'filter': expected, 'isNamed': True}, f'{language}: {text}'


def test_what_failed_is_said_in_the_readers_language(page: Browser) -> None:
    said = page.module('''
        const {loadTexts} = await import('/app/texts.js');
        const {el} = await import('/app/dom.js');
        const {explain} = await import('/app/status.js');
        await loadTexts('de');
        return [['exists', 'there is an album of that name'], ['noServer', ''], ['invalid', 'the file is empty'],
                ['busy', 'the asset is being saved. Try again later.'], ['invalid', 'constructor'],
                ['invalid', 'no text that is known'], ['invalid', '']].map(([code, message]) =>
            [...el('p', {}, explain({code, message})).childNodes].map(({lang, textContent}) =>
                [lang ?? '', textContent]));''')
    texts = json.loads((TEXTS / 'de.json').read_text(encoding='utf-8'))
    assert said == [[['', 'Etwas mit diesem Namen gibt es schon.'], ['', 'es gibt schon ein Album dieses Namens']],
                    [['', 'Das Programm hinter dieser Seite ist nicht erreichbar.']], [['', 'die Datei ist leer']],
                    [['', texts['error.busy']],
                     ['', 'das Objekt wird gerade gesichert. Später noch einmal versuchen.']], [['en', 'constructor']],
                    [['en', 'no text that is known']], [['', 'Das hat nicht geklappt.']]]


def test_exposures_are_written_as_on_a_camera(page: Browser) -> None:
    shown = page.module('''
        const {showFacts} = await import('/app/facts.js');
        return [[1 / 4000, 2.8], [0.04, 0], [2.5, 0]].map(([exposureSeconds, aperture]) => {
            const panel = document.createElement('div');
            showFacts(panel, {name: 'a.jpg', created: '2020-01-01T00:00:00', exposureSeconds, aperture},
                      {isFixed: true});
            return panel.querySelector('dd').textContent.replace(/[\u2066\u2069]/g, '');
        });''')
    assert shown == ['1/4000 s   f/2.8', '1/25 s', '2.5 s']


def test_each_language_has_all_texts_with_the_same_values() -> None:
    english = json.loads((TEXTS / 'en.json').read_text(encoding='utf-8'))
    used = {name for source in TEXTS.parent.glob('app/*.js') for name in re.findall(r"'([a-z]+(?:\.[a-zA-Z]+)*)'",
                                                                                 source.read_text(encoding='utf-8'))}
    for key in english:
        is_made = key.rsplit('.', 1)[0] in ('chip', 'error', 'shift', 'away', 'download')
        assert is_made or key in used, f'{key} is not used'
    for language in LANGUAGES:
        texts = json.loads((TEXTS / f'{language}.json').read_text(encoding='utf-8'))
        assert list(texts) == list(english), language
        for key, text in texts.items():
            assert isinstance(text, dict) == isinstance(english[key], dict), f'{language} {key}'
            of_english = english[key]['other'] if isinstance(text, dict) else english[key]
            of_this = text['other'] if isinstance(text, dict) else text
            values = [sorted(re.findall(r'\{\w+\}', each)) for each in (of_this, of_english)]
            assert values[0] == values[1], f'{language} {key}'
