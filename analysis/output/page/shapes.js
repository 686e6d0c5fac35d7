'use strict';

// What the picture is made of: threads, edges and marks as elements of SVG.

const kFonts = getComputedStyle(document.documentElement).fontFamily;

function svgElement(name, attributes = {}, ...children) {
    const element = document.createElementNS('http://www.w3.org/2000/svg', name);
    for (const [key, value] of Object.entries(attributes)) {
        element.setAttribute(key, value);
    }
    element.append(...children);
    return element;
}

const measuring = document.createElement('canvas').getContext('2d');

// The text, cut to a width in pixels behind its first quarter: names begin alike, and pids end them.
function fitText(text, width, font) {
    measuring.font = font;
    if (measuring.measureText(text).width <= width) {
        return text;
    }
    const signs = [...text];
    let least = 0,
        most = signs.length;
    const cut = (kept) =>
        signs.slice(0, Math.ceil(kept / 4)).join('') +
        '…' +
        signs.slice(signs.length - Math.floor((3 * kept) / 4)).join('');
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

// Both of a Bézier curve.
function pathOf([start, one, two, end]) {
    return `M${start}C${one} ${two} ${end}`;
}

function pointOf([start, one, two, end], at) {
    const rest = 1 - at;
    const along = (axis) =>
        rest ** 3 * start[axis] +
        3 * rest ** 2 * at * one[axis] +
        3 * rest * at ** 2 * two[axis] +
        at ** 3 * end[axis];
    return [along(0), along(1)];
}

function octagonOf({width, height}) {
    const c = 12;
    return svgElement('path', {
        class: 'box',
        d:
            `M${c} 0H${width - c}L${width} ${c}V${height - c}` +
            `L${width - c} ${height}H${c}L0 ${height - c}V${c}z`,
    });
}

// One border, or two for an end.
function boxesOf({width, height, isEnd}) {
    const box = svgElement('rect', {class: 'box', width, height, rx: 8});
    return !isEnd
        ? [box]
        : [
              box,
              svgElement('rect', {
                  class: 'inner',
                  x: 4,
                  y: 4,
                  width: width - 8,
                  height: height - 8,
                  rx: 5,
              }),
          ];
}

function shapeOf(thread, isSelected, isOnWay) {
    const isMember = thread.isEnd && thread.end.isDeadlock;
    const kinds = [
        'node',
        thread.isEnd && (isMember ? 'member' : 'blocker'),
        thread.tid === 0 && 'process',
        isSelected && 'selected',
        isOnWay && 'on-way',
    ];
    return svgElement(
        'g',
        {
            'class': kinds.filter(Boolean).join(' '),
            'data-thread': thread.id,
            'transform': `translate(${thread.x} ${thread.y})`,
        },
        ...(isMember ? [octagonOf(thread)] : boxesOf(thread)),
        ...textsOf(thread),
    );
}

function textsOf(thread) {
    const movement = thread.movement === 'unknown' ? '' : thread.movement;
    const name = thread.tid === 0 ? 'any thread' : `thread ${thread.tid} ${thread.name}`;
    const text = (kind, y, content, font) =>
        svgElement(
            'text',
            {class: kind, x: 14, y},
            fitText(content, thread.width - 28, `${font} ${kFonts}`),
        );
    const [first, second] = thread.isEnd ? [39, 56] : [19, 36];
    const texts = [
        text('process-name', first, thread.process, '600 13px'),
        text(
            'thread-name',
            second,
            !thread.isEnd && movement ? `${name} (${movement})` : name,
            '12px',
        ),
    ];
    const tag = thread.isEnd && [thread.end.title, movement].filter(Boolean).join(', ');
    return tag ? [svgElement('text', {class: 'tag', x: 14, y: 20}, tag), ...texts] : texts;
}

function edgeShape(edge, isDown, isOnWay) {
    const kind = edge.isThick ? 'thick' : isOnWay ? 'way' : '';
    return svgElement('path', {
        'class': `edge ${edge.type} ${kind}`,
        'd': pathOf(curveOf(edge, isDown)),
        'marker-end': `url(#${edge.type})`,
    });
}

// Near the start, where edges to one thread are still apart; of an arc beside its middle.
function labelShape(edge, isDown, isOnWay) {
    const [x, y] = pointOf(curveOf(edge, isDown), edge.isArc ? 0.5 : 0.36);
    const isBeside = edge.isArc && !isDown;
    const room = isDown ? kWidth : isBeside ? kGap.arcs - 0.75 * kGap.bulge : kGap.along - 12;
    return svgElement(
        'text',
        {
            class: `edge-label ${isOnWay ? 'way' : ''} ${isBeside ? 'beside' : ''}`,
            x: x + (isBeside ? 6 : 0),
            y: y + (isDown || isBeside ? 4 : -5),
        },
        fitText(edge.label, room, `11px ${kFonts}`),
    );
}

function groupShape({x, y, width, height}) {
    return svgElement('rect', {class: 'group', x, y, width, height, rx: 10});
}

// Everything from afar: a path for each type of edge and each kind of thread.
function farShapes(graph, plan) {
    const boxes = (threads) =>
        threads.map(({x, y, width, height}) => `M${x} ${y}h${width}v${height}h${-width}z`).join('');
    const edges = ['served', 'queued', 'lock'].map((type) =>
        svgElement('path', {
            class: `edge ${type}`,
            d: plan.edges
                .filter((edge) => edge.type === type)
                .map((edge) => pathOf(curveOf(edge, plan.isDown)))
                .join(''),
        }),
    );
    const membersOf = (isDeadlock) =>
        boxes(
            graph.ends.filter((end) => end.isDeadlock === isDeadlock).flatMap((end) => end.members),
        );
    return [
        ...edges,
        svgElement('path', {
            class: 'far-node',
            d: boxes(graph.order.filter((each) => !each.isEnd)),
        }),
        svgElement('path', {class: 'far-node blocker', d: membersOf(false)}),
        svgElement('path', {class: 'far-node member', d: membersOf(true)}),
    ];
}

function farMark({x, y, width, height}) {
    return svgElement('rect', {class: 'far-mark', x, y, width, height});
}

// An end's rank, as large on the screen however far the picture is.
function rankMark(end, scale) {
    const [member] = end.members;
    const size = 13 / scale;
    return svgElement(
        'text',
        {
            'class': 'rank',
            'font-size': size,
            'x': member.x + member.width / 2,
            'y': member.y + member.height / 2 + size * 0.35,
        },
        end.title.replace('Deadlock ', 'D').replace('Blocker ', ''),
    );
}
