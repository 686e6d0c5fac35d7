-- What a fleet's reports come to. `report` keeps each line of `stallscope-analyze --json` as it is;
-- the other tables hold what is asked most, one narrow row for each finding. Every table begins its
-- key with the device, so that it can be distributed by it.

create table release (
    name text primary key,
    built date not null default current_date  -- what "before" means; correct it where it is not so
);

create table report (
    device text not null,
    release text not null references release,
    name text not null,
    line jsonb not null,
    primary key (device, release, name)
);

-- For questions that nobody thought of yet: line @> '{"rootBlockers": [{"process": "x"}]}'
create index report_line on report using gin (line jsonb_path_ops);

create table root_blocker (
    device text not null,
    release text not null,
    name text not null,
    rank bigint not null,
    process text not null,
    blocked_threads bigint not null,
    blocked_processes bigint not null,
    longest_wait_ms bigint,
    doing text not null,
    primary key (device, release, name, rank),
    foreign key (device, release, name) references report on delete cascade
);
create index root_blocker_by_release on root_blocker (release, process);

create table deadlock (
    device text not null,
    release text not null,
    name text not null,
    rank bigint not null,
    kind text not null,
    edges text not null,      -- by names: what is the same on every device
    signature text not null,  -- of the edges
    blocked_threads bigint not null,
    primary key (device, release, name, rank),
    foreign key (device, release, name) references report on delete cascade
);
create index deadlock_by_signature on deadlock (signature, release);

create table exhausted_pool (
    device text not null,
    release text not null,
    name text not null,
    rank bigint not null,
    process text not null,
    queued bigint not null,
    oldest_ms bigint,
    primary key (device, release, name, rank),
    foreign key (device, release, name) references report on delete cascade
);
create index exhausted_pool_by_release on exhausted_pool (release, process);

-- Names instead of pids and each edge once, sorted: neither the pids, nor the size of a pool, nor
-- the thread that the cycle is printed from makes a difference. "?" is a process without a name.
create function deadlock_edges(cycle jsonb) returns text
language sql immutable parallel safe as $$
    select string_agg(distinct edge collate "C", '; ' order by edge collate "C")
    from jsonb_array_elements(cycle->'edges') as each,
        lateral (select concat_ws(' ', coalesce(each->'from'->>'process', '?'),
            '-' || (each->>'type') || '->', coalesce(each->'to'->>'process', '?')) as edge) as named
$$;
