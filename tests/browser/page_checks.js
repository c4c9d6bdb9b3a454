// What a reader sees of a report, as one object. report_test.py compares it with the result that
// the page was drawn from.
const all = (selector, within = document) => [...within.querySelectorAll(selector)];
const box = element => {
    const { x, y, width, height } = element.getBoundingClientRect();
    return { x, y, width, height };
};
const isShown = element => element.getClientRects().length > 0;

function pictures() {
    return all('figure svg.picture').map(svg => ({
        displays: all('[data-display]', svg).map(rect => ({
            side: rect.dataset.side,
            id: Number(rect.dataset.display),
            isMain: rect.parentElement.classList.contains('main'),
            labels: all('text', rect.parentElement).filter(isShown).map(text => text.textContent),
            ...box(rect) })),
        corners: all('[data-corner]', svg).map(mark => ({
            at: mark.dataset.corner.split(' ').map(Number),
            isBeside: mark.classList.contains('beside'),
            ...box(mark.querySelector('.ring')) })) }));
}

function timeLine() {
    return all('.moments > li').flatMap(moment => all(':scope > ul > li', moment).map(entry => ({
        at: moment.querySelector('.at').textContent,
        kind: entry.querySelector('.kind').textContent,
        what: entry.querySelector('.what').textContent,
        details: all('.detail', entry).map(detail => detail.textContent) })));
}

function logLines() {
    return all('#time .log-lines li').map(line => ({
        at: line.querySelector('.at').textContent,
        level: line.querySelector('.level').textContent,
        message: line.querySelector('.message').textContent,
        isShown: isShown(line) }));
}

function files() {
    return all('#files details').map(file => ({
        path: file.querySelector('.path').textContent,
        fate: file.querySelector('.fate').textContent,
        isOpen: file.open,
        removed: all('del', file).map(line => line.textContent.slice(2)),
        added: all('ins', file).map(line => line.textContent.slice(2)) }));
}

function tables() {
    return all('table.facts-table').map(table => ({
        caption: table.caption && table.caption.textContent,
        headersWithoutScope: all('th:not([scope])', table).length,
        groups: all('tbody', table).map(group => ({
            title: group.querySelector('th[scope=rowgroup]').textContent,
            rows: all('tr:not(.group)', group).map(row =>
                [...row.cells].map(cell => cell.textContent)) })) }));
}

function about() {
    return all('table.about tr').map(row => [...row.cells].map(cell => cell.textContent));
}

/// The user's log beside the replay's: the messages of each row, null if a side has none, and where
/// the two part.
function twoLogs() {
    const message = cell => cell.querySelector('.message')?.textContent ?? null;
    const rows = all('.two-logs tbody tr');
    return {
        earlier: all('.earlier .message').map(line => line.textContent),
        rows: rows.filter(row => row.id !== 'parting').map(row => ({
            isCommon: row.classList.contains('common'), messages: [...row.cells].map(message) })),
        parting: rows.findIndex(row => row.id === 'parting'),
        verdict: document.querySelector('#logs > p')?.textContent ?? null };
}

function colour(text) {
    const canvas = colour.canvas ??= new OffscreenCanvas(1, 1).getContext('2d',
        { willReadFrequently: true });
    canvas.clearRect(0, 0, 1, 1);
    canvas.fillStyle = text;
    canvas.fillRect(0, 0, 1, 1);
    return [...canvas.getImageData(0, 0, 1, 1).data];
}

function luminance([red, green, blue]) {
    const linear = value => {
        const share = value / 255;
        return share <= .04045 ? share / 12.92 : ((share + .055) / 1.055) ** 2.4;
    };
    return .2126 * linear(red) + .7152 * linear(green) + .0722 * linear(blue);
}

function contrast(a, b) {
    const [less, more] = [luminance(colour(a)), luminance(colour(b))].sort((x, y) => x - y);
    return (more + .05) / (less + .05);
}

/// The colour behind an element: a display's face, or what an ancestor is painted with.
function ground(element) {
    const face = element.closest('.display')?.querySelector('.face');
    if (face && face !== element) return getComputedStyle(face).fill;
    for (let outer = element; outer; outer = outer.parentElement) {
        const painted = getComputedStyle(outer).backgroundColor;
        if (colour(painted)[3] === 255) return painted;
    }
    return 'white';
}

function textContrasts() {
    const found = new Map();
    const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
    while (walker.nextNode()) {
        const element = walker.currentNode.parentElement;
        if (!walker.currentNode.data.trim() || !isShown(element)) continue;
        const isSVG = element instanceof SVGElement;
        if (isSVG && element.localName !== 'text') continue;
        const ink = getComputedStyle(element)[isSVG ? 'fill' : 'color'];
        const key = `${ink} on ${ground(element)}`;
        if (!found.has(key)) found.set(key, { key, ratio: contrast(ink, ground(element)),
            text: element.textContent.slice(0, 40) });
    }
    return [...found.values()];
}

/// The parts of pictures must stand out as well: a display's edge from what is around it,
/// everything else from what it is drawn on.
function drawingContrasts() {
    const found = new Map();
    for (const [selector, property] of [['.edge', 'stroke'], ['.bar:not(.hides)', 'fill'],
        ['.hides', 'stroke'], ['.hot', 'fill'], ['.cursor', 'fill'], ['.strike', 'stroke'],
        ['.ring', 'stroke'], ['.heart', 'fill'], ['.lane rect', 'fill']]) {
        for (const element of all(selector)) {
            const ink = getComputedStyle(element)[property];
            const behind = selector === '.edge' ? ground(element.closest('svg'))
                : ground(element.parentElement);
            found.set(`${selector} ${ink} on ${behind}`, contrast(ink, behind));
        }
    }
    return [...found].map(([key, ratio]) => ({ key, ratio }));
}

return ({
    page: () => ({
        title: document.title,
        heading: document.querySelector('h1').textContent,
        headings: all('h1, h2, h3, h4').map(heading => Number(heading.localName[1])),
        landmarks: ['header', 'nav', 'main'].map(name => all(name).length),
        foreign: all('script, img, iframe, object, embed, link, base, form').length,
        verdict: document.querySelector('.verdict').textContent,
        pictures: pictures(), tables: tables(), timeLine: timeLine(), log: logLines(),
        files: files(), about: about(), twoLogs: twoLogs() }),
    contrasts: () => ({ text: textContrasts(), drawing: drawingContrasts() }),
    narrow: () => ({ width: document.documentElement.scrollWidth, pictures: pictures() }),
    shownLevels: () => [...new Set(logLines().filter(line => line.isShown)
        .map(line => line.level))].sort(),
    focus: () => {
        const focus = document.activeElement;
        const style = getComputedStyle(focus);
        return { id: focus.id, name: focus.localName, isOpen: Boolean(focus.parentElement?.open),
            outline: style.outlineStyle === 'none' ? 0 : parseFloat(style.outlineWidth) };
    },
    deadLinks: () => all('a').map(link => link.getAttribute('href'))
        .filter(href => !href.startsWith('#') || !document.getElementById(href.slice(1))),
})[arguments[0]]();
