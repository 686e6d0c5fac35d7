'use strict';

// The side panel: one thread, its way to the end, who waits for it, its stacks and the lines that
// all this rests on. Every text goes in as text, never as markup.

const kMostWaiters = 12;
const kMostSteps = 60;

function element(name, attributes = {}, ...children) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) {
        if (key.startsWith('on')) {
            made.addEventListener(key.slice(2), value);
        } else if (value !== undefined && value !== false) {
            made.setAttribute(key, value === true ? '' : value);
        }
    }
    made.append(...children.filter((child) => child !== undefined && child !== null));
    return made;
}

function threadButton(thread, select) {
    return element(
        'button',
        {
            'type': 'button',
            'class': 'thread-link',
            'data-goto': thread.id,
            'onclick': () => select(thread),
        },
        thread.title,
    );
}

function showDetails(place, graph, thread, select) {
    if (!thread) {
        place.replaceChildren(
            element(
                'p',
                {class: 'hint'},
                'Select a thread in the picture or in the table to see its chain, its stack and the ' +
                    'lines of the log that show it.',
            ),
        );
        return;
    }
    place.replaceChildren(
        ...[
            element('h2', {}, thread.title),
            tagsOf(thread),
            ...standingOf(graph, thread),
            ...chainOf(graph, thread, select),
            ...waitersOf(thread, select),
            ...stackOf(graph, thread),
            ...evidenceOf(graph, thread),
        ].filter(Boolean),
    );
}

function tagsOf(thread) {
    const tags = [
        thread.isEnd && thread.end.title,
        thread.isEnd && thread.end.isDeadlock && `kind: ${thread.end.kind}`,
        thread.movement !== 'unknown' && thread.movement,
    ].filter(Boolean);
    return (
        tags.length > 0 &&
        element('ul', {class: 'tags'}, ...tags.map((tag) => element('li', {}, tag)))
    );
}

// What the thread does, and what it means for others.
function standingOf(graph, thread) {
    const sentences = [thread.doing];
    if (thread.isEnd) {
        sentences.push((thread.end.isDeadlock ? 'the deadlock ' : '') + holdsUp(thread.end));
    } else if (thread.behind > 0) {
        sentences.push(
            `${countOf(thread.behind, 'thread')} wait behind it`.replace(
                /^1 thread wait/,
                '1 thread waits',
            ),
        );
    }
    return sentences.filter(Boolean).map((text) => element('p', {}, asSentence(text)));
}

function asSentence(text) {
    return text[0].toUpperCase() + text.slice(1) + (/[.!?…]$/.test(text) ? '' : '.');
}

function chainOf(graph, thread, select) {
    const way = thread.isEnd ? cycleOf(thread) : wayOf(thread);
    if (way.length < 2 && thread.waits.length === 0) {
        return [];
    }
    const steps = way.map((each) =>
        element(
            'li',
            {class: each.isEnd && (each.end.isDeadlock ? 'member' : 'end')},
            each === thread
                ? element('span', {class: 'here'}, each.title)
                : threadButton(each, select),
            ...stepsOf(graph, each, way),
        ),
    );
    const title = thread.isEnd ? 'The cycle' : 'Its way to the end';
    if (steps.length > kMostSteps) {
        steps.splice(
            kMostSteps - 10,
            steps.length - kMostSteps,
            element(
                'li',
                {class: 'hint'},
                `${countOf(steps.length - kMostSteps, 'more thread')} in between`,
            ),
        );
    }
    return [element('h3', {}, title), element('ol', {class: 'chain'}, ...steps)];
}

// The cycle, beginning with the thread.
function cycleOf(thread) {
    const {members} = thread.end;
    const at = members.indexOf(thread);
    return [...members.slice(at), ...members.slice(0, at)];
}

// What a thread of the chain waits in, and what the end does.
function stepsOf(graph, thread) {
    const waits = thread.isEnd ? thread.waits : [thread.nextWait];
    if (waits.length === 0) {
        return [element('small', {}, thread.doing || 'nothing is known of what it does')];
    }
    return waits.map((wait) =>
        element(
            'small',
            {class: `wait ${wait.type}`},
            wait.text + leadsTo(graph, wait) + (wait.doubtful ? ' (probably)' : ''),
        ),
    );
}

function leadsTo(graph, wait) {
    const [target] = targetsOf(graph, wait);
    if (wait.pool >= 0 && graph.pools[wait.pool].size > 1) {
        const {pid, size} = graph.pools[wait.pool];
        return ` → any of the ${size} threads of process ${pid}`;
    }
    return target ? ` → ${target.id}` : '';
}

function waitersOf(thread, select) {
    const {waiters} = thread;
    if (waiters.length === 0) {
        return [];
    }
    const list = element('ul', {class: 'waiters'});
    const more = growing(list, waiters, kMostWaiters, (waiter) =>
        element('li', {}, threadButton(waiter, select), element('small', {}, waiter.nextWait.text)),
    );
    return [element('h3', {}, `Waits for it (${waiters.length.toLocaleString('en')})`), list, more];
}

// Puts the first items into the list, and returns the button that adds the next ones.
function growing(list, items, most, make) {
    const rest = [...items];
    const more = element('button', {type: 'button', class: 'more', onclick: () => add(200)});
    const add = (count) => {
        list.append(...rest.splice(0, count).map(make));
        more.hidden = rest.length === 0;
        more.textContent = `${rest.length.toLocaleString('en')} more…`;
    };
    add(most);
    return more;
}

function stackOf(graph, thread) {
    const out = [];
    if (thread.calls.length > 0) {
        out.push(
            element('h3', {}, 'Its calls in the kernel’s log, top first'),
            linesBox(graph, thread.calls),
        );
    }
    if (thread.dump) {
        const {source, first, last, time, isOfLogsMoment, isCut} = thread.dump;
        const places = Array.from({length: last - first + 1}, (_, at) => [source, first + at]);
        out.push(
            element('h3', {}, `Its stack${time ? ` of ${time}` : ''}`),
            isOfLogsMoment
                ? null
                : element(
                      'p',
                      {class: 'hint'},
                      'From another moment than the log: it shows what the thread did then.',
                  ),
            linesBox(graph, places),
            isCut ? element('p', {class: 'hint'}, 'The rest is in the file.') : null,
        );
    } else if (thread.tid !== 0) {
        out.push(element('p', {class: 'hint'}, 'The input has no stack of this thread.'));
    }
    return out;
}

function evidenceOf(graph, thread) {
    const places = [
        ...thread.places,
        ...thread.waits.flatMap((wait) => wait.places),
        ...(thread.isEnd ? thread.end.places : []),
    ];
    return places.length === 0
        ? []
        : [element('h3', {}, 'The lines it rests on'), evidenceBox(graph, places)];
}

// Lines with two of their neighbours on each side; gaps are marked.
function evidenceBox(graph, places) {
    const marked = new Set(places.map(placeKey));
    const shown = new Map();
    for (const [source, line] of places) {
        for (let at = line - 2; at <= line + 2; ++at) {
            shown.set(placeKey([source, at]), [source, at]);
        }
    }
    const sorted = [...shown.values()].sort((a, b) => a[0] - b[0] || a[1] - b[1]);
    return linesBox(graph, sorted, marked);
}

function linesBox(graph, places, marked = new Set()) {
    const box = element('div', {
        'class': 'lines',
        'tabindex': 0,
        'role': 'group',
        'aria-label': 'Lines',
    });
    let [lastSource, lastLine] = [-1, 0];
    for (const [source, line] of places) {
        const text = graph.lines.get(placeKey([source, line]));
        if (text === undefined) {
            continue;
        }
        if (source !== lastSource && graph.sources.length > 1) {
            box.append(element('div', {class: 'source'}, graph.sources[source]));
        } else if (lastLine > 0 && line !== lastLine + 1) {
            box.append(element('div', {class: 'gap'}, '⋯'));
        }
        [lastSource, lastLine] = [source, line];
        const isMarked = marked.has(placeKey([source, line]));
        box.append(
            element(
                'div',
                {class: isMarked ? 'line marked' : 'line'},
                element('span', {class: 'number'}, String(line)),
                element(isMarked ? 'strong' : 'span', {class: 'text'}, text),
            ),
        );
    }
    return box;
}
