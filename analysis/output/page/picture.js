'use strict';

// The picture: a window onto the plan. Near by, only what is in sight is drawn, with its texts; from
// afar, everything as a few paths and the ends by their ranks. So the number of elements has a
// bound, whatever the number of threads.

const kNearScale = 0.42;  // below this a text can't be read
const kLargestScale = 2.5;
const kFitScale = 1.15;
const kStartScale = 0.6;  // what is smaller is shown in part at first
const kMargin = 24;
const kNarrow = 640;
const kMostRanks = 40;

function svgElement(name, attributes = {}, ...children) {
    const element = document.createElementNS('http://www.w3.org/2000/svg', name);
    for (const [key, value] of Object.entries(attributes)) {
        element.setAttribute(key, value);
    }
    element.append(...children);
    return element;
}

const measuring = document.createElement('canvas').getContext('2d');

// The text, cut in its middle to a width in pixels: names begin alike.
function fitText(text, width, font) {
    measuring.font = font;
    if (measuring.measureText(text).width <= width) {
        return text;
    }
    const signs = [...text];
    let least = 0, most = signs.length;
    const cut = (kept) => signs.slice(0, Math.ceil(kept / 2)).join('') + '…' +
        signs.slice(signs.length - Math.floor(kept / 2)).join('');
    while (least < most) {
        const middle = Math.ceil((least + most) / 2);
        if (measuring.measureText(cut(middle)).width <= width) {
            least = middle;
        } else {
            most = middle - 1;
        }
    }
    return cut(least);
}

function pathOf([start, one, two, end]) {
    return `M${start}C${one} ${two} ${end}`;
}

function pointOf([start, one, two, end], at) {
    const rest = 1 - at;
    const along = (axis) => rest ** 3 * start[axis] + 3 * rest ** 2 * at * one[axis] +
        3 * rest * at ** 2 * two[axis] + at ** 3 * end[axis];
    return [along(0), along(1)];
}

class Picture {
    constructor(svg, graph) {
        Object.assign(this, {svg, graph, canvas: svg.querySelector('#canvas'), selected: null,
            view: {x: 0, y: 0, scale: 1}, fonts: getComputedStyle(svg).fontFamily});
        this.resize();
    }

    // Lays out anew when a narrow window becomes a wide one or the other way round; else only the
    // part in sight changes. A small plan gets a low picture.
    resize() {
        const {width} = this.svg.getBoundingClientRect();
        const isNarrow = width < kNarrow;
        const isNew = this.isNarrow !== isNarrow;
        if (isNew) {
            this.isNarrow = isNarrow;
            this.plan = this.choosePlan(width / Math.max(400, 0.58 * innerHeight));
            this.far = null;
        }
        const scale = Math.min(kFitScale, (width - 2 * kMargin) / this.plan.width);
        const height = scale < kStartScale ? Infinity : this.plan.height * scale + 2 * kMargin;
        this.svg.style.height = `${Math.min(Math.max(120, Math.ceil(height)), 2000)}px`;
        this.size = {width: Math.max(width, 1),
            height: Math.max(this.svg.getBoundingClientRect().height, 1)};
        if (isNew) {
            this.showStart();
        }
        this.draw();
    }

    // To the right; in a narrow window down if the answer is less wide so.
    choosePlan(aspect) {
        const right = layOut(this.graph, false, aspect);
        const down = this.isNarrow && layOut(this.graph, true, aspect);
        return down && down.first > right.first ? layOut(this.graph, false, aspect) : down || right;
    }

    // All if it can be read, else the first end with what stands around it.
    showStart() {
        this.fit();
        const first = this.selected ?? this.graph.ends[0]?.members[0];
        if (this.view.scale < kStartScale && first) {
            this.centre(first, 0.8);
        }
    }

    fit() {
        const scale = Math.min((this.size.width - 2 * kMargin) / this.plan.width,
            (this.size.height - 2 * kMargin) / this.plan.height, kFitScale);
        this.setView(this.plan.width / 2, this.plan.height / 2, scale);
    }

    // Moves a thread into the middle, an end to where its waiters are seen as well.
    centre(thread, scale = Math.max(this.view.scale, 0.8)) {
        const ahead = thread.isEnd && thread.waiters.length > 0 ? 0.25 : 0;
        const x = thread.x + thread.width / 2;
        const y = thread.y + thread.height / 2;
        const {isDown} = this.plan;
        this.setView(x - (isDown ? 0 : ahead * this.size.width / scale),
            y - (isDown ? ahead * this.size.height / scale : 0), scale);
    }

    // Moves only if the thread is out of sight or too small to read.
    reveal(thread) {
        const {x, y, width, height} = this.sight(-8);
        const isInside = thread.x >= x && thread.y >= y && thread.x + thread.width <= x + width &&
            thread.y + thread.height <= y + height;
        if (!isInside || this.view.scale < kNearScale) {
            this.centre(thread);
        }
    }

    // Shows as much of the plan as it can: nothing beyond the plan as long as there is more inside.
    setView(middleX, middleY, scale) {
        const margin = kMargin / scale;
        const start = (middle, seen, whole) => seen >= whole + 2 * margin ? (whole - seen) / 2 :
            Math.min(Math.max(middle - seen / 2, -margin), whole + margin - seen);
        this.view = {scale, x: start(middleX, this.size.width / scale, this.plan.width),
            y: start(middleY, this.size.height / scale, this.plan.height)};
        this.drawSoon();
    }

    zoom(factor, [atX, atY] = [this.size.width / 2, this.size.height / 2]) {
        const {x, y, scale} = this.view;
        const least = Math.min(0.9 * this.size.width / this.plan.width,
            0.9 * this.size.height / this.plan.height, kNearScale);
        const wanted = Math.min(Math.max(scale * factor, least), kLargestScale);
        this.view = {scale: wanted, x: x + atX / scale - atX / wanted,
            y: y + atY / scale - atY / wanted};
        this.drawSoon();
    }

    move(right, down) {
        this.view.x += right / this.view.scale;
        this.view.y += down / this.view.scale;
        this.drawSoon();
    }

    select(thread) {
        this.selected = thread;
        this.draw();
    }

    threadAt([atX, atY]) {
        const x = this.view.x + atX / this.view.scale;
        const y = this.view.y + atY / this.view.scale;
        return this.graph.order.find((thread) => x >= thread.x && x <= thread.x + thread.width &&
            y >= thread.y && y <= thread.y + thread.height);
    }

    // What is in sight, with a margin in pixels, in the plan's measures.
    sight(margin) {
        const {x, y, scale} = this.view;
        return {x: x - margin / scale, y: y - margin / scale,
            width: (this.size.width + 2 * margin) / scale,
            height: (this.size.height + 2 * margin) / scale};
    }

    drawSoon() {
        this.pending ??= requestAnimationFrame(() => this.draw());
    }

    draw() {
        cancelAnimationFrame(this.pending);
        this.pending = undefined;
        const {x, y, width, height} = this.sight(0);
        this.svg.setAttribute('viewBox', `${x} ${y} ${width} ${height}`);
        const isFar = this.view.scale < kNearScale;
        this.svg.classList.toggle('far', isFar);
        this.way = new Set(this.selected ? wayOf(this.selected) : []);
        this.svg.classList.toggle('has-way', this.way.size > 1);
        this.canvas.replaceChildren(...isFar ? this.drawFar() : this.drawNear(this.sight(200)));
    }

    drawFar() {
        this.far ??= this.farPaths();
        const ends = this.markedEnds().map((end) => this.rankMark(end));
        return [...this.far, ...this.wayEdges().map((edge) => this.edgePath(edge, 'way')),
            ...this.selected ? [this.farMark(this.selected)] : [], ...ends];
    }

    farPaths() {
        const boxes = (threads) => threads.map(({x, y, width, height}) =>
            `M${x} ${y}h${width}v${height}h${-width}z`).join('');
        const {order, ends} = this.graph;
        const edges = ['served', 'queued', 'lock'].map((type) => svgElement('path', {
            class: `edge ${type}`,
            d: this.plan.edges.filter((edge) => edge.type === type)
                .map((edge) => pathOf(curveOf(edge, this.plan.isDown))).join(''),
        }));
        const membersOf = (isDeadlock) => boxes(ends.filter((end) => end.isDeadlock === isDeadlock)
            .flatMap((end) => end.members));
        return [...edges,
            svgElement('path', {class: 'far-node', d: boxes(order.filter((each) => !each.isEnd))}),
            svgElement('path', {class: 'far-node blocker', d: membersOf(false)}),
            svgElement('path', {class: 'far-node member', d: membersOf(true)})];
    }

    // The first ones that have room for their rank.
    markedEnds() {
        const {scale} = this.view;
        const marked = [];
        const isFree = ({members: [one]}) => marked.every(({members: [other]}) =>
            Math.abs(one.x - other.x) * scale > 40 || Math.abs(one.y - other.y) * scale > 18);
        for (const end of this.graph.ends.slice(0, kMostRanks)) {
            marked.push(...isFree(end) ? [end] : []);
        }
        return marked;
    }

    // A rank in letters of the same size on the screen however far the picture is.
    rankMark(end) {
        const [member] = end.members;
        const size = 13 / this.view.scale;
        return svgElement('text', {class: 'rank', 'font-size': size,
            x: member.x + member.width / 2, y: member.y + member.height / 2 + size * 0.35},
        end.title.replace('Deadlock ', 'D').replace('Blocker ', ''));
    }

    farMark({x, y, width, height}) {
        return svgElement('rect', {class: 'far-mark', x, y, width, height});
    }

    drawNear(sight) {
        const isSeen = ({x, y, width, height}) => x <= sight.x + sight.width &&
            y <= sight.y + sight.height && x + width >= sight.x && y + height >= sight.y;
        const groups = this.plan.groups.filter(isSeen).map((group) => this.groupBox(group));
        const edges = this.nearEdges().filter(({from, to}) => isSeen(boundsOf(from, to)));
        return [...groups, ...edges.map((edge) => this.edgePath(edge)),
            ...edges.map((edge) => this.edgeLabel(edge)).filter(Boolean),
            ...this.graph.order.filter(isSeen).map((thread) => this.node(thread))];
    }

    // Few threads: every wait. Many: one of each thread, and all of the selected one.
    nearEdges() {
        const {order} = this.graph;
        const more = order.length <= 80 ? order.filter((each) => !each.block) : [];
        const chosen = this.selected && !more.includes(this.selected) ? [this.selected] : [];
        return [...this.plan.edges,
            ...[...more, ...chosen].flatMap((thread) => otherEdges(this.graph, thread)),
            ...this.wayEdges().filter(({from}) => from.block)];
    }

    wayEdges() {
        return [...this.way].filter((thread) => thread.next).map(ownEdge);
    }

    isOnWay({from, to}) {
        return this.way.has(from) && from.next === to;
    }

    edgePath(edge, extra = '') {
        const kind = edge.isThick ? 'thick' : this.isOnWay(edge) ? 'way' : extra;
        return svgElement('path', {class: `edge ${edge.type} ${kind}`,
            d: pathOf(curveOf(edge, this.plan.isDown)), 'marker-end': `url(#${edge.type})`});
    }

    // Near the start, where edges to one thread are still apart; of an arc beside its middle.
    edgeLabel(edge) {
        if (!edge.label) {
            return null;
        }
        const {isDown} = this.plan;
        const [x, y] = pointOf(curveOf(edge, isDown), edge.isArc ? 0.5 : 0.36);
        const beside = edge.isArc && !isDown;
        const room = isDown ? kWidth : beside ? kGap.arcs - kGap.bulge : kGap.along - 12;
        return svgElement('text', {
            class: `edge-label ${this.isOnWay(edge) ? 'way' : ''} ${beside ? 'beside' : ''}`,
            x: x + (beside ? 6 : 0), y: y + (isDown || beside ? 4 : -5),
        }, fitText(edge.label, room, `11px ${this.fonts}`));
    }

    groupBox({x, y, width, height}) {
        return svgElement('rect', {class: 'group', x, y, width, height, rx: 10});
    }

    node(thread) {
        const isMember = thread.isEnd && thread.end.isDeadlock;
        const kinds = ['node', thread.isEnd && (isMember ? 'member' : 'blocker'),
            thread.tid === 0 && 'process', thread === this.selected && 'selected',
            this.way.has(thread) && 'on-way'];
        return svgElement('g', {class: kinds.filter(Boolean).join(' '), 'data-thread': thread.id,
            transform: `translate(${thread.x} ${thread.y})`},
        ...isMember ? [octagon(thread)] : boxesOf(thread), ...this.textsOf(thread));
    }

    textsOf(thread) {
        const tags = thread.isEnd ? [thread.end.title, thread.movement] : [thread.movement];
        const tag = tags.filter((each) => each !== 'unknown').join(', ');
        const name = thread.tid === 0 ? 'any thread' : `thread ${thread.tid} ${thread.name}`;
        const lines = [['process-name', thread.process, 600, 13],
            ['thread-name', thread.isEnd || !tag ? name : `${name} (${tag})`, 400, 12]];
        const texts = lines.map(([kind, text, weight, size], at) => svgElement('text',
            {class: kind, x: 14, y: (thread.isEnd ? 39 : 19) + 17 * at},
            fitText(text, thread.width - 28, `${weight} ${size}px ${this.fonts}`)));
        return thread.isEnd ? [svgElement('text', {class: 'tag', x: 14, y: 20}, tag), ...texts] : texts;
    }
}

function boundsOf(one, two) {
    const x = Math.min(one.x, two.x);
    const y = Math.min(one.y, two.y);
    return {x, y, width: Math.max(one.x + one.width, two.x + two.width) - x + kGap.arcs,
        height: Math.max(one.y + one.height, two.y + two.height) - y + kGap.arcs};
}

function octagon({width, height}) {
    const c = 12;
    return svgElement('path', {class: 'box', d: `M${c} 0H${width - c}L${width} ${c}V${height - c}` +
        `L${width - c} ${height}H${c}L0 ${height - c}V${c}z`});
}

function boxesOf(thread) {
    const {width, height} = thread;
    const box = svgElement('rect', {class: 'box', width, height, rx: 8});
    return !thread.isEnd ? [box] : [box, svgElement('rect', {class: 'inner', x: 4, y: 4,
        width: width - 8, height: height - 8, rx: 5})];
}
