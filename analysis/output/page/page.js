'use strict';

// Joins the parts. The address keeps what is selected and how the table is sorted, so that a link
// can say "#thread=143:152&sort=-longest".

class Page {
    constructor(data) {
        this.graph = loadGraph(data);
        this.byId = new Map(this.graph.threads.map((thread) => [thread.id, thread]));
        this.parts = Object.fromEntries(
            [
                'main',
                'source',
                'notes',
                'picture',
                'status',
                'empty',
                'details',
                'tables',
                'find-text',
                'found',
            ].map((id) => [id, document.getElementById(id)]),
        );
        this.parts.main.hidden = false;
        this.showHead();
        this.select = (thread) => this.choose(thread);
        this.ranking = new Ranking(this.graph, this.select, () => this.keepAddress());
        showTables(this.parts.tables, this.graph, this.ranking);
        if (this.graph.ends.length > 0) {
            this.picture = new Picture(this.parts.picture, this.graph);
            this.listen();
        } else {
            this.showEmpty();
        }
        this.readAddress();
        addEventListener('hashchange', () => this.readAddress());
    }

    showHead() {
        const {file, notes, leftOut} = this.graph;
        this.parts.source.textContent = file;
        const left =
            leftOut > 0
                ? [
                      `${countOf(leftOut, 'thread')} furthest from the ends are not ` +
                          'shown; the numbers count them.',
                  ]
                : [];
        this.parts.notes.replaceChildren(
            ...[...notes, ...left].map((note) => element('li', {}, note)),
        );
    }

    showEmpty() {
        document.body.classList.add('no-picture');
        this.parts.empty.hidden = false;
        this.parts.empty.textContent =
            'There is nothing to draw. A smaller --threshold shows shorter waits.';
    }

    // What the address says; without it, the answer is selected.
    readAddress() {
        const wishes = new URLSearchParams(location.hash.slice(1));
        this.ranking.sortBy(wishes.get('sort') ?? 'rank');
        const first = wishes.has('thread') ? undefined : this.graph.ends[0]?.members[0];
        this.show(this.byId.get(wishes.get('thread')) ?? first);
        if (wishes.has('thread') && this.selected) {
            this.picture.reveal(this.selected);
        }
    }

    keepAddress() {
        const wishes = [
            this.selected && `thread=${this.selected.id}`,
            this.ranking.sort !== 'rank' && `sort=${this.ranking.sort}`,
        ].filter(Boolean);
        history.replaceState(null, '', wishes.length > 0 ? `#${wishes.join('&')}` : ' ');
    }

    // A person chose a thread, or none.
    choose(thread) {
        this.show(thread);
        this.keepAddress();
        if (thread) {
            this.picture.reveal(thread);
        }
    }

    show(thread) {
        this.selected = thread;
        showDetails(this.parts.details, this.graph, thread, this.select);
        this.ranking.mark(thread);
        this.picture?.select(thread);
        this.parts.status.textContent = !thread
            ? 'No thread is selected.'
            : `${thread.title}: ${thread.isEnd ? holdsUp(thread.end) : thread.nextWait.text}`;
    }

    listen() {
        const on = (id, event, handler) =>
            document.getElementById(id).addEventListener(event, handler);
        on('zoom-in', 'click', () => this.picture.zoom(1.4));
        on('zoom-out', 'click', () => this.picture.zoom(1 / 1.4));
        on('zoom-fit', 'click', () => this.picture.fit());
        on('find-text', 'input', () => this.showFound());
        on('find', 'keydown', (event) => this.keyInFound(event));
        on('picture', 'keydown', (event) => this.keyInPicture(event));
        followPointers(this.parts.picture, this.picture, this.select);
        new ResizeObserver(() => this.picture.resize()).observe(this.parts.picture);
        addEventListener('beforeprint', () => this.picture.fit() ?? this.picture.draw());
    }

    keyInPicture(event) {
        const to = neighbourOf(this.selected, event.key, this.picture.plan.isDown);
        const actions = {
            '+': () => this.picture.zoom(1.25),
            '=': () => this.picture.zoom(1.25),
            '-': () => this.picture.zoom(0.8),
            '0': () => this.picture.fit(),
            'Escape': () => this.choose(undefined),
            'Enter': () => this.parts.details.focus(),
            'Home': () => this.choose(this.graph.ends[0].members[0]),
        };
        if (event.ctrlKey || event.metaKey || event.altKey) {
            return;
        }
        if (event.key.startsWith('Arrow')) {
            this.choose(this.selected ? (to ?? this.selected) : this.graph.ends[0].members[0]);
            event.preventDefault();
        } else if (actions[event.key]) {
            actions[event.key]();
            event.preventDefault();
        }
    }

    showFound() {
        const threads = findThreads(this.graph, this.parts['find-text'].value).slice(0, 20);
        const isAsked = this.parts['find-text'].value.trim() !== '';
        this.parts.found.hidden = !isAsked;
        this.parts.found.replaceChildren(
            ...threads.map((thread) =>
                element(
                    'li',
                    {},
                    threadButton(thread, (chosen) => this.takeFound(chosen)),
                ),
            ),
            ...(isAsked && threads.length === 0
                ? [element('li', {class: 'hint'}, 'No such thread waits.')]
                : []),
        );
    }

    takeFound(thread) {
        this.parts['find-text'].value = '';
        this.showFound();
        this.choose(thread);
        this.parts.picture.focus();
    }

    keyInFound(event) {
        const buttons = [...this.parts.found.querySelectorAll('button')];
        const at = buttons.indexOf(document.activeElement);
        if (event.key === 'Escape') {
            this.parts['find-text'].value = '';
            this.showFound();
            this.parts['find-text'].focus();
        } else if (event.key === 'Enter' && at < 0) {
            buttons[0]?.click();
        } else if (event.key === 'ArrowDown') {
            buttons[Math.min(at + 1, buttons.length - 1)]?.focus();
        } else if (event.key === 'ArrowUp') {
            (buttons[at - 1] ?? this.parts['find-text']).focus();
        } else {
            return;
        }
        event.preventDefault();
    }
}

// Along the flow to the next thread and back to the first that waits, across it to a neighbour.
function neighbourOf(thread, key, isDown) {
    const turned = {
        ArrowDown: 'ArrowRight',
        ArrowUp: 'ArrowLeft',
        ArrowRight: 'ArrowDown',
        ArrowLeft: 'ArrowUp',
    };
    const way = isDown ? turned[key] : key;
    if (!thread || way === 'ArrowRight') {
        return thread?.next;
    }
    if (way === 'ArrowLeft') {
        return thread.waiters[0];
    }
    return siblingOf(thread, way === 'ArrowDown' ? 1 : -1);
}

function siblingOf(thread, step) {
    const siblings = thread.next ? thread.next.waiters : thread.end.members;
    const sibling = siblings[siblings.indexOf(thread) + step];
    return sibling || thread.next
        ? sibling
        : (step > 0 ? thread.end.after : thread.end.before)?.members[0];
}

// One pointer moves the picture, or selects if it does not move; two zoom; Ctrl and wheel zoom.
function followPointers(svg, picture, select) {
    const pointers = new Map();
    let travelled = 0;
    const at = (event) => {
        const {left, top} = svg.getBoundingClientRect();
        return [event.clientX - left, event.clientY - top];
    };
    const apart = () => {
        const [[x, y], [otherX, otherY]] = [...pointers.values()];
        return Math.hypot(x - otherX, y - otherY);
    };
    svg.addEventListener('pointerdown', (event) => {
        travelled = pointers.size === 0 ? 0 : Infinity;
        pointers.set(event.pointerId, at(event));
        svg.setPointerCapture(event.pointerId);
    });
    svg.addEventListener('pointermove', (event) => {
        const last = pointers.get(event.pointerId);
        if (!last) {
            return;
        }
        const before = pointers.size === 2 ? apart() : 0;
        const [x, y] = at(event);
        pointers.set(event.pointerId, [x, y]);
        travelled += Math.hypot(x - last[0], y - last[1]);
        if (pointers.size === 2) {
            picture.zoom(apart() / Math.max(before, 1), [x, y]);
        } else if (travelled > 4) {
            picture.move(last[0] - x, last[1] - y);
        }
    });
    const end = (event) => {
        const isClick = pointers.delete(event.pointerId) && travelled <= 4;
        if (isClick && event.type === 'pointerup' && event.button === 0) {
            select(picture.threadAt(at(event)));
        }
    };
    svg.addEventListener('pointerup', end);
    svg.addEventListener('pointercancel', end);
    svg.addEventListener(
        'wheel',
        (event) => {
            if (event.ctrlKey || event.metaKey) {
                event.preventDefault();
                picture.zoom(Math.exp(-event.deltaY / 400), at(event));
            }
        },
        {passive: false},
    );
}

new Page(JSON.parse(document.getElementById('data').textContent));
