'use strict';

// The picture: a window onto the plan. Near by, only what is in sight is drawn, with its texts; from
// afar, everything as a few paths and the ends by their ranks. So the number of elements has a
// bound, whatever the number of threads.

const kNearScale = 0.42; // below this a text can't be read
const kLargestScale = 2.5;
const kFitScale = 1.15;
const kStartScale = 0.6; // what is smaller is shown in part at first
const kPartScale = 0.8; // then
const kMargin = 24;
const kNarrow = 640;
const kMostRanks = 40;

class Picture {
    constructor(svg, graph) {
        Object.assign(this, {
            svg,
            graph,
            canvas: svg.querySelector('#canvas'),
            selected: null,
            view: {x: 0, y: 0, scale: 1},
        });
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
            // Down in a narrow window, unless the answer is a cycle: that stands beside the flow.
            const isDown = isNarrow && !this.graph.ends[0].isDeadlock;
            this.plan = layOut(this.graph, isDown, width / Math.max(400, 0.58 * innerHeight));
            this.far = null;
        }
        const scale = Math.min(kFitScale, (width - 2 * kMargin) / this.plan.width);
        const seen = scale < kStartScale ? kPartScale : scale;
        const height = this.plan.height * seen + 2 * kMargin;
        this.svg.style.height = `${Math.min(Math.max(120, Math.ceil(height)), 2000)}px`;
        this.size = {
            width: Math.max(width, 1),
            height: Math.max(this.svg.getBoundingClientRect().height, 1),
        };
        if (isNew) {
            this.showStart();
        }
        this.draw();
    }

    // All if it can be read, else the first end with what stands around it.
    showStart() {
        this.fit();
        const first = this.selected ?? this.graph.ends[0]?.members[0];
        if (this.view.scale < kStartScale && first) {
            this.centre(first, kPartScale);
        }
    }

    fit() {
        const scale = Math.min(
            (this.size.width - 2 * kMargin) / this.plan.width,
            (this.size.height - 2 * kMargin) / this.plan.height,
            kFitScale,
        );
        this.setView(this.plan.width / 2, this.plan.height / 2, scale);
    }

    // Moves a thread into the middle, an end to where its waiters are seen as well.
    centre(thread, scale = Math.max(this.view.scale, 0.8)) {
        const {isDown} = this.plan;
        const arcs = thread.isEnd && thread.end.isDeadlock && !isDown ? kGap.arcs : 0;
        const ahead = thread.isEnd && thread.waiters.length > 0 && (isDown || !this.isNarrow);
        const shift = (length) => (ahead ? (0.25 * length) / scale : 0);
        this.setView(
            thread.x + (thread.width + arcs) / 2 - (isDown ? 0 : shift(this.size.width)),
            thread.y + thread.height / 2 - (isDown ? shift(this.size.height) : 0),
            scale,
        );
    }

    // Moves only if the thread is out of sight or too small to read.
    reveal(thread) {
        const {x, y, width, height} = this.sight(-8);
        const isInside =
            thread.x >= x &&
            thread.y >= y &&
            thread.x + thread.width <= x + width &&
            thread.y + thread.height <= y + height;
        if (!isInside || this.view.scale < kNearScale) {
            this.centre(thread);
        }
    }

    // Shows as much of the plan as it can: nothing beyond the plan as long as there is more inside.
    setView(middleX, middleY, scale) {
        const margin = kMargin / scale;
        const start = (middle, seen, whole) =>
            seen >= whole + 2 * margin
                ? (whole - seen) / 2
                : Math.min(Math.max(middle - seen / 2, -margin), whole + margin - seen);
        this.view = {
            scale,
            x: start(middleX, this.size.width / scale, this.plan.width),
            y: start(middleY, this.size.height / scale, this.plan.height),
        };
        this.drawSoon();
    }

    zoom(factor, [atX, atY] = [this.size.width / 2, this.size.height / 2]) {
        const {x, y, scale} = this.view;
        const least = Math.min(
            (0.9 * this.size.width) / this.plan.width,
            (0.9 * this.size.height) / this.plan.height,
            kNearScale,
        );
        const wanted = Math.min(Math.max(scale * factor, least), kLargestScale);
        this.view = {
            scale: wanted,
            x: x + atX / scale - atX / wanted,
            y: y + atY / scale - atY / wanted,
        };
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
        return this.graph.order.find(
            (thread) =>
                x >= thread.x &&
                x <= thread.x + thread.width &&
                y >= thread.y &&
                y <= thread.y + thread.height,
        );
    }

    // What is in sight, with a margin in pixels, in the plan's measures.
    sight(margin) {
        const {x, y, scale} = this.view;
        return {
            x: x - margin / scale,
            y: y - margin / scale,
            width: (this.size.width + 2 * margin) / scale,
            height: (this.size.height + 2 * margin) / scale,
        };
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
        if (this.isDrawn(isFar)) {
            return;
        }
        this.svg.classList.toggle('far', isFar);
        this.way = new Set(this.selected ? wayOf(this.selected) : []);
        const sight = this.sight(kMargin * 10);
        this.drawn = {
            sight,
            isFar,
            scale: this.view.scale,
            selected: this.selected,
            plan: this.plan,
        };
        this.canvas.replaceChildren(...(isFar ? this.drawFar() : this.drawNear(sight)));
    }

    // Moving needs nothing new as long as it stays within what was drawn.
    isDrawn(isFar) {
        const {sight, scale, ...last} = this.drawn ?? {};
        const now = this.sight(0);
        const isSame =
            last.isFar === isFar && last.selected === this.selected && last.plan === this.plan;
        return (
            isSame &&
            (isFar
                ? scale === this.view.scale
                : now.x >= sight.x &&
                  now.y >= sight.y &&
                  now.x + now.width <= sight.x + sight.width &&
                  now.y + now.height <= sight.y + sight.height)
        );
    }

    drawFar() {
        this.far ??= farShapes(this.graph, this.plan);
        return [
            ...this.far,
            ...this.wayEdges().map((edge) => edgeShape(edge, this.plan.isDown, true)),
            ...(this.selected ? [farMark(this.selected)] : []),
            ...this.markedEnds().map((end) => rankMark(end, this.view.scale)),
        ];
    }

    // The first ones that have room for their rank.
    markedEnds() {
        const {scale} = this.view;
        const marked = [];
        const isFree = ({members: [one]}) =>
            marked.every(
                ({members: [other]}) =>
                    Math.abs(one.x - other.x) * scale > 40 ||
                    Math.abs(one.y - other.y) * scale > 18,
            );
        for (const end of this.graph.ends.slice(0, kMostRanks)) {
            marked.push(...(isFree(end) ? [end] : []));
        }
        return marked;
    }

    drawNear(sight) {
        const isSeen = ({x, y, width, height}) =>
            x <= sight.x + sight.width &&
            y <= sight.y + sight.height &&
            x + width >= sight.x &&
            y + height >= sight.y;
        const {isDown} = this.plan;
        const edges = this.nearEdges().filter(({from, to}) => isSeen(boundsOf(from, to)));
        return [
            ...this.plan.groups.filter(isSeen).map(groupShape),
            ...edges.map((edge) => edgeShape(edge, isDown, this.isOnWay(edge))),
            ...edges
                .filter(({label}) => label)
                .map((edge) => labelShape(edge, isDown, this.isOnWay(edge))),
            ...this.graph.order
                .filter(isSeen)
                .map((thread) => shapeOf(thread, thread === this.selected, this.way.has(thread))),
        ];
    }

    // Few threads: every wait. Many: one of each thread, and all of the selected one.
    nearEdges() {
        const {order} = this.graph;
        const more = order.length <= 80 ? order.filter((each) => !each.block) : [];
        const chosen = this.selected && !more.includes(this.selected) ? [this.selected] : [];
        return [
            ...this.plan.edges,
            ...[...more, ...chosen].flatMap((thread) => otherEdges(this.graph, thread)),
            ...this.wayEdges().filter(({from}) => from.block),
        ];
    }

    wayEdges() {
        return [...this.way].filter((thread) => thread.next).map(ownEdge);
    }

    isOnWay({from, to}) {
        return this.way.has(from) && from.next === to;
    }
}

function boundsOf(one, two) {
    const x = Math.min(one.x, two.x);
    const y = Math.min(one.y, two.y);
    return {
        x,
        y,
        width: Math.max(one.x + one.width, two.x + two.width) - x + kGap.arcs,
        height: Math.max(one.y + one.height, two.y + two.height) - y + kGap.arcs,
    };
}
