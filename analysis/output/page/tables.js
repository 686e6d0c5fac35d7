'use strict';

// Below the picture: the ranking, which can be sorted, and the other findings.

const kMostRows = 100;
const kMostQueues = 20;

const kColumns = [
    {key: 'rank', title: 'End', value: (end) => end.rank, first: 1},
    {key: 'who', title: 'Who', value: (end) => end.members[0].title.toLowerCase(), first: 1},
    {
        key: 'threads',
        title: 'Threads',
        hint: 'threads held up',
        value: (end) => end.threads,
        first: -1,
    },
    {
        key: 'processes',
        title: 'Processes',
        hint: 'processes held up',
        value: (end) => end.processes,
        first: -1,
    },
    {key: 'longest', title: 'Longest wait', value: (end) => end.longestMs ?? -1, first: -1},
];

class Ranking {
    // onSort is told the new order as "key" or "-key".
    constructor(graph, select, onSort) {
        Object.assign(this, {graph, select, onSort, most: kMostRows, sort: 'rank'});
        this.heads = kColumns.map((column) =>
            element(
                'th',
                {'scope': 'col', 'data-key': column.key},
                element(
                    'button',
                    {
                        type: 'button',
                        onclick: () => this.toggle(column),
                        title: column.hint ?? false,
                    },
                    column.title,
                ),
            ),
        );
        this.body = element('tbody');
        this.more = element('button', {
            type: 'button',
            class: 'more',
            onclick: () => {
                this.most = Infinity;
                this.show();
            },
        });
        this.table = element(
            'table',
            {id: 'ranking'},
            element('caption', {}, 'Deadlocks first, then those who hold up most'),
            element('thead', {}, element('tr', {}, ...this.heads)),
            this.body,
        );
    }

    toggle({key, first}) {
        const [up, down] = [key, `-${key}`];
        const start = first > 0 ? up : down;
        this.sortBy(this.sort === start ? (start === up ? down : up) : start);
        this.onSort(this.sort);
    }

    sortBy(sort) {
        const key = sort.replace(/^-/, '');
        const column = kColumns.find((each) => each.key === key);
        this.sort = column ? sort : 'rank';
        this.show();
    }

    show() {
        const isDown = this.sort.startsWith('-');
        const column = kColumns.find((each) => each.key === this.sort.replace(/^-/, ''));
        const compare = (a, b) => (a < b ? -1 : a > b ? 1 : 0) * (isDown ? -1 : 1);
        const ends = [...this.graph.ends].sort(
            (a, b) => compare(column.value(a), column.value(b)) || a.rank - b.rank,
        );
        for (const head of this.heads) {
            const isSorted = head.dataset.key === column.key;
            head.setAttribute(
                'aria-sort',
                !isSorted ? 'none' : isDown ? 'descending' : 'ascending',
            );
        }
        this.body.replaceChildren(...ends.slice(0, this.most).map((end) => this.row(end)));
        this.more.hidden = ends.length <= this.most;
        this.more.textContent = `Show all ${ends.length.toLocaleString('en')}`;
        this.mark(this.selected);
    }

    row(end) {
        const number = (text) => element('td', {class: 'number'}, text);
        const members = end.members
            .slice(0, 8)
            .map((member) =>
                element(
                    'li',
                    {},
                    threadButton(member, this.select),
                    end.isDeadlock ? null : element('small', {}, member.doing),
                ),
            );
        const rest = end.members.length - members.length;
        return element(
            'tr',
            {'data-rank': end.rank},
            element(
                'th',
                {scope: 'row'},
                end.title,
                end.isDeadlock ? element('small', {}, end.kind) : null,
                end.probable ? element('small', {}, 'probably') : null,
            ),
            element(
                'td',
                {},
                element(
                    'ul',
                    {class: 'members'},
                    ...members,
                    rest > 0 ? element('li', {}, `${countOf(rest, 'more thread')}`) : null,
                ),
            ),
            number(end.threads.toLocaleString('en')),
            number(end.processes.toLocaleString('en')),
            number(end.longest || '–'),
        );
    }

    mark(thread) {
        this.selected = thread;
        for (const row of this.body.rows) {
            const end = this.graph.ends[row.dataset.rank];
            row.classList.toggle('selected', Boolean(thread) && thread.end === end);
        }
    }
}

function showTables(place, graph, ranking) {
    const title = (text) => element('h2', {}, text);
    place.replaceChildren(
        ...[
            ...(graph.ends.length > 0
                ? [title('Who holds up whom'), ranking.table, ranking.more]
                : []),
            ...queueTable(
                graph,
                graph.exhausted,
                'Processes without a free thread',
                'calls that no thread has taken',
            ),
            ...queueTable(
                graph,
                graph.backlogs,
                'One-way calls that pile up',
                'one-way calls in the queue',
            ),
            ...skippedLines(graph),
        ],
    );
}

function queueTable(graph, queues, title, hint) {
    if (queues.length === 0) {
        return [];
    }
    const body = element('tbody');
    const more = growing(body, queues, kMostQueues, (queue) => queueRow(graph, queue));
    const heads = [
        element('th', {scope: 'col'}, 'Process'),
        element('th', {scope: 'col', title: hint}, 'Queued'),
        element('th', {scope: 'col'}, 'Oldest'),
    ];
    const head = element('thead', {}, element('tr', {}, ...heads));
    return [element('h2', {}, title), element('table', {class: 'queues'}, head, body), more];
}

// The name opens a row below with the lines that show the queue.
function queueRow(graph, queue) {
    const name = queue.process + (queue.node >= 0 ? `, node ${queue.node}` : '');
    let lines;
    const open = () => {
        lines ??= element(
            'tr',
            {hidden: true},
            element('td', {colspan: 3}, evidenceBox(graph, queue.places)),
        );
        row.after(lines);
        lines.hidden = !lines.hidden;
        button.setAttribute('aria-expanded', String(!lines.hidden));
    };
    const button = element(
        'button',
        {'type': 'button', 'class': 'opener', 'aria-expanded': 'false', 'onclick': open},
        name,
    );
    const row = element(
        'tr',
        {},
        element('td', {}, button),
        element('td', {class: 'number'}, queue.queued.toLocaleString('en')),
        element('td', {class: 'number'}, queue.oldest || '–'),
    );
    return row;
}

function skippedLines(graph) {
    const {lines, examples} = graph.skipped;
    if (lines === 0) {
        return [];
    }
    const shown = examples.map(({place, text}) => {
        graph.lines.set(placeKey(place), text);
        return place;
    });
    return [
        element('h2', {}, 'What could not be read'),
        element('p', {}, `${countOf(lines, 'line')}. The first:`),
        linesBox(graph, shown),
    ];
}
