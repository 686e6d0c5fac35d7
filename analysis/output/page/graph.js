'use strict';

// The data with links in both directions. Threads, waits and ends are objects that know each other.
function loadGraph(data) {
    const graph = {...data, lines: new Map()};
    graph.threads.forEach((thread, index) => {
        Object.assign(thread, {index, id: `${thread.pid}:${thread.tid}`, waiters: [], behind: 0});
        thread.inner = thread.title.toLowerCase();
    });
    graph.ends.forEach((end, rank) => {
        Object.assign(end, {rank, before: graph.ends[rank - 1], after: graph.ends[rank + 1]});
        end.members = end.members.map((index) => graph.threads[index]);
        end.isDeadlock = end.kind !== 'blocker';
        end.members.forEach((member) => {
            member.isEnd = true;
        });
    });
    for (const thread of graph.threads) {
        thread.end = graph.ends[thread.end];
        thread.nextWait = thread.waits[thread.nextWait];
        thread.next = thread.isEnd ? undefined : graph.threads[thread.next];
        thread.next?.waiters.push(thread);
    }
    graph.order = fromEnds(graph);
    for (const thread of [...graph.order].reverse()) {
        thread.waiters.sort((a, b) => b.behind - a.behind || a.index - b.index);
        if (thread.next) {
            thread.next.behind += thread.behind + 1;
        }
    }
    for (const {source, first, lines} of data.excerpts) {
        lines.forEach((text, at) => graph.lines.set(placeKey([source, first + at]), text));
    }
    return graph;
}

// All threads, each behind the one that it waits for.
function fromEnds(graph) {
    const order = graph.ends.flatMap((end) => end.members);
    for (let i = 0; i < order.length; ++i) {
        for (const waiter of order[i].waiters) {
            order.push(waiter);
        }
    }
    return order;
}

function placeKey([source, line]) {
    return `${source}:${line}`;
}

// The threads that a wait leads to, as far as they are shown.
function targetsOf(graph, wait) {
    const indices = wait.pool >= 0 ? graph.pools[wait.pool].threads : [wait.target];
    return indices.filter((index) => index >= 0).map((index) => graph.threads[index]);
}

// From a thread to its end, both included.
function wayOf(thread) {
    const way = [];
    for (let at = thread; at; at = at.next) {
        way.push(at);
    }
    return way;
}

function countOf(count, one, many = `${one}s`) {
    return `${count.toLocaleString('en')} ${count === 1 ? one : many}`;
}

// "holds up 3 threads in 3 processes; longest wait 2.9 s"
function holdsUp(end) {
    const others = end.isDeadlock ? ['other process', 'other processes'] : ['process', 'processes'];
    const whom =
        end.threads === 0
            ? 'nobody else'
            : countOf(end.threads, 'thread') +
              (end.processes > 0 ? ` in ${countOf(end.processes, ...others)}` : ' of its own');
    const isBusy = !end.isDeadlock && end.members[0].movement === 'busy';
    const verb = isBusy
        ? 'is busy, not stuck (another call at each look); it holds up'
        : 'holds up';
    const longest = end.longest ? `; longest wait ${end.longest}` : '';
    return `${end.probable ? 'probably ' : ''}${verb} ${whom}${longest}`;
}

// What a line of the picture or the chain says of a wait.
function waitLabel(wait) {
    const kind = {served: '', queued: 'queued', lock: 'lock'}[wait.type];
    return [wait.doubtful ? 'probably' : '', kind, wait.time].filter(Boolean).join(' ');
}

function findThreads(graph, text) {
    const words = text.toLowerCase().split(/\s+/).filter(Boolean);
    const matches = (thread) =>
        words.every(
            (word) =>
                thread.id === word ||
                String(thread.pid) === word ||
                String(thread.tid) === word ||
                thread.inner.includes(word),
        );
    return words.length === 0 ? [] : graph.threads.filter(matches);
}
