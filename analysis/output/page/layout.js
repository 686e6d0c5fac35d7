'use strict';

// Where everything stands: each end with those who wait for it as a tree whose levels run along the
// flow, to the right or (isDown) down, and the trees on shelves by rank. Each thread is placed
// once, so that thousands take no time. Positions are along and across the flow first, x and y
// last.

const kWidth = 232;
const kHeight = 46;
const kEndHeight = 66;
const kGap = {
    along: 96,
    alongDown: 58,
    across: 12,
    tree: 56,
    frame: 14,
    cell: 8,
    bulge: 120,
    arcs: 170,
};
const kMostSingles = 6; // leaves of one type; more stand in a block with one edge
const kMostArcs = 12;

// Gives every thread of graph.order x, y, width and height.
function layOut(graph, isDown, aspect) {
    const plan = {isDown, aspect, groups: [], edges: [], width: 0, height: 0};
    for (const thread of [...graph.order].reverse()) {
        measure(thread, plan);
    }
    const trees = graph.ends.map((end) => placeTree(end, plan));
    putOnShelves(trees, plan);
    plan.edges = [
        ...graph.order.filter((thread) => thread.next && !thread.block).map(ownEdge),
        ...plan.groups.map(groupEdge),
        ...graph.ends.flatMap(arcsOf.bind(null, graph)),
    ];
    return plan;
}

function measure(thread, plan) {
    Object.assign(thread, {
        width: kWidth,
        height: thread.isEnd ? kEndHeight : kHeight,
        block: null,
    });
    thread.length = plan.isDown ? thread.height : thread.width;
    thread.breadth = plan.isDown ? thread.width : thread.height;
    thread.parts = partsOf(thread, plan);
    thread.room = Math.max(thread.breadth, roomOf(thread.parts));
}

function roomOf(parts) {
    return parts.reduce((sum, part) => sum + part.room + kGap.across, -kGap.across);
}

// What stands behind a thread: waiters with waiters of their own one by one, then the leaves, few
// of them one by one, many as a block.
function partsOf(thread, plan) {
    const parts = thread.waiters.filter((waiter) => waiter.behind > 0);
    for (const type of ['served', 'queued', 'lock']) {
        const leaves = thread.waiters.filter(
            (waiter) => waiter.behind === 0 && waiter.nextWait.type === type,
        );
        parts.push(...(leaves.length > kMostSingles ? [blockOf(leaves, thread, plan)] : leaves));
    }
    return parts;
}

function blockOf(leaves, target, plan) {
    const step = {along: leaves[0].length + kGap.cell, across: leaves[0].breadth + kGap.cell};
    const aspect = plan.isDown ? 1 / plan.aspect : plan.aspect;
    const wished = Math.round(Math.sqrt((leaves.length * step.along) / step.across / aspect));
    const lines = Math.min(Math.max(wished, 2), leaves.length);
    const steps = Math.ceil(leaves.length / lines);
    const block = {
        leaves,
        target,
        step,
        lines,
        length: steps * step.along - kGap.cell + 2 * kGap.frame,
        breadth: lines * step.across - kGap.cell + 2 * kGap.frame,
    };
    block.room = block.breadth;
    leaves.forEach((leaf) => {
        leaf.block = block;
    });
    return block;
}

// The members of an end side by side at 0, everything behind them below 0.
function placeTree(end, plan) {
    const tree = {end, placed: [], lowest: 0, room: roomOf(end.members)};
    let across = 0;
    for (const member of end.members) {
        Object.assign(member, {along: 0, middle: across + member.room / 2});
        across += member.room + kGap.across;
        tree.placed.push(member);
    }
    for (let i = 0; i < tree.placed.length; ++i) {
        placeParts(tree.placed[i], tree, plan);
    }
    tree.highest = end.members[0].length + (end.isDeadlock ? kGap.arcs : 0);
    return tree;
}

function placeParts(thread, tree, plan) {
    let across = thread.middle - roomOf(thread.parts ?? []) / 2;
    for (const part of thread.parts ?? []) {
        part.along = thread.along - part.length - (plan.isDown ? kGap.alongDown : kGap.along);
        part.middle = across + part.room / 2;
        across += part.room + kGap.across;
        tree.lowest = Math.min(tree.lowest, part.along);
        tree.placed.push(part);
        part.leaves?.forEach((leaf, at) => placeInBlock(leaf, at, part, tree));
    }
}

function placeInBlock(leaf, at, block, tree) {
    const line = at % block.lines;
    const step = Math.floor(at / block.lines);
    leaf.along = block.along + block.length - kGap.frame - leaf.length - step * block.step.along;
    leaf.middle =
        block.middle - block.breadth / 2 + kGap.frame + leaf.breadth / 2 + line * block.step.across;
    tree.placed.push(leaf);
}

// In rows from left to right, as wide as makes the whole about as wide as the window is.
function putOnShelves(trees, plan) {
    for (const tree of trees) {
        const length = tree.highest - tree.lowest;
        Object.assign(
            tree,
            plan.isDown ? {width: tree.room, height: length} : {width: length, height: tree.room},
        );
    }
    const area = trees.reduce(
        (sum, tree) => sum + (tree.width + kGap.tree) * (tree.height + kGap.tree),
        0,
    );
    const wished = trees.reduce(
        (most, tree) => Math.max(most, tree.width),
        Math.sqrt(area * plan.aspect),
    );
    let x = 0,
        y = 0,
        tallest = 0;
    for (const tree of trees) {
        if (x > 0 && x + tree.width > wished) {
            y += tallest + kGap.tree;
            x = tallest = 0;
        }
        moveTree(tree, x, y, plan);
        tallest = Math.max(tallest, tree.height);
        plan.width = Math.max(plan.width, x + tree.width);
        plan.height = Math.max(plan.height, y + tree.height);
        x += tree.width + kGap.tree;
    }
}

function moveTree(tree, x, y, plan) {
    for (const each of tree.placed) {
        const along = each.along - tree.lowest;
        const across = each.middle - each.breadth / 2;
        each.x = x + (plan.isDown ? across : along);
        each.y = y + (plan.isDown ? along : across);
        if (each.leaves) {
            each.width = plan.isDown ? each.breadth : each.length;
            each.height = plan.isDown ? each.length : each.breadth;
            plan.groups.push(each);
        }
    }
}

function ownEdge(thread) {
    return {
        from: thread,
        to: thread.next,
        type: thread.nextWait.type,
        label: waitLabel(thread.nextWait),
    };
}

function groupEdge(group) {
    const wait = group.leaves[0].nextWait;
    return {
        from: group,
        to: group.target,
        type: wait.type,
        isThick: true,
        label: `${group.leaves.length.toLocaleString('en')} ${wait.type}`,
    };
}

// Inside a deadlock: all edges, or where these are too many, one from each member, to another one
// each where that goes.
function arcsOf(graph, end) {
    const arcs = !end.isDeadlock
        ? []
        : end.members.flatMap((from) =>
              from.waits.flatMap((wait) =>
                  targetsOf(graph, wait).map((to) => ({
                      from,
                      to,
                      type: wait.type,
                      isArc: true,
                      label: waitLabel(wait),
                  })),
              ),
          );
    if (arcs.length <= kMostArcs) {
        return arcs;
    }
    const reached = new Set();
    return end.members
        .map((from, at) => {
            const next = end.members[(at + 1) % end.members.length];
            const own = arcs.filter((arc) => arc.from === from);
            const arc =
                own.find(({to}) => to === next && !reached.has(to)) ??
                own.find(({to}) => !reached.has(to)) ??
                own[0];
            reached.add(arc?.to);
            return arc;
        })
        .filter(Boolean);
}

// The waits of a thread that are not in the plan, because the tree has one edge for each thread.
function otherEdges(graph, thread) {
    if (thread.end?.isDeadlock && thread.isEnd) {
        return [];
    }
    return thread.waits.flatMap((wait) =>
        targetsOf(graph, wait)
            .filter((to) => to !== thread.next || thread.block)
            .map((to) => ({from: thread, to, type: wait.type, label: ''})),
    );
}

// The points of a Bézier curve: start, two that bend it, end.
function curveOf(edge, isDown) {
    const {from, to} = edge;
    const out = (box) =>
        isDown
            ? [box.x + box.width / 2, box.y + box.height]
            : [box.x + box.width, box.y + box.height / 2];
    const into = (box) =>
        isDown ? [box.x + box.width / 2, box.y] : [box.x, box.y + box.height / 2];
    const shift = ([x, y], along, across = 0) =>
        isDown ? [x + across, y + along] : [x + along, y + across];
    if (edge.isArc) {
        const [start, end] =
            from === to
                ? [shift(out(from), 0, -14), shift(out(from), 0, 14)]
                : [out(from), out(to)];
        const apart = Math.abs(isDown ? start[0] - end[0] : start[1] - end[1]);
        const bulge = Math.min(30 + apart / 4, kGap.bulge);
        return [start, shift(start, bulge), shift(end, bulge), end];
    }
    const [start, end] = [out(from), into(to)];
    const bend = Math.max(36, Math.abs(isDown ? end[1] - start[1] : end[0] - start[0]) / 2);
    return [start, shift(start, bend), shift(end, -bend), end];
}
