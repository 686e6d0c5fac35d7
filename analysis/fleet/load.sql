-- Loads lines of `stallscope-analyze --json` from standard input:
--   stallscope-analyze --json fleet/*/*/* | psql -f load.sql
-- A file's path ends in RELEASE/DEVICE/NAME. What was loaded before under this name is replaced.
\set ON_ERROR_STOP on
begin;

create temporary table incoming (text text) on commit drop;
\copy incoming from pstdin with (format csv, quote e'\x01', delimiter e'\x02')

-- jsonb takes no NUL, which a damaged log may hold. Each line is parsed once: hence materialized.
create temporary table fresh on commit drop as
with parsed as materialized (
    select (case when strpos(text, '\u0000') = 0 then text
        else regexp_replace(text, '(?<!\\)((\\\\)*)\\u0000', '\1\\ufffd', 'g') end)::jsonb as line
    from incoming
), split as materialized (
    select string_to_array(line->>'file', '/') as path, line from parsed
)
select distinct on (release, device, name) path[cardinality(path) - 2] as release,
    path[cardinality(path) - 1] as device, path[cardinality(path)] as name, line
from split
order by release, device, name, path;

do $$
declare wrong text := (select line->>'file' from fresh
    where coalesce(release, '') = '' or coalesce(device, '') = '' limit 1);
begin
    if wrong is not null then
        raise exception 'the path % does not end in RELEASE/DEVICE/NAME', wrong;
    end if;
end $$;

insert into release (name) select distinct release from fresh on conflict do nothing;
delete from report using fresh
where (report.device, report.release, report.name) = (fresh.device, fresh.release, fresh.name);
insert into report (device, release, name, line) select device, release, name, line from fresh;

insert into root_blocker
select device, release, name, rank, coalesce(each->>'process', '?'),
    (each->>'blockedThreads')::bigint, (each->>'blockedProcesses')::bigint,
    (each->>'longestWaitMs')::bigint, each->>'doing'
from fresh, jsonb_array_elements(line->'rootBlockers') with ordinality as list (each, rank);

insert into deadlock
select device, release, name, rank, each->>'kind', edges, md5(edges),
    (each->>'blockedThreads')::bigint
from fresh, jsonb_array_elements(line->'cycles') with ordinality as list (each, rank),
    lateral deadlock_edges(each) as edges;

insert into exhausted_pool
select device, release, name, rank, coalesce(each->>'process', '?'), (each->>'queued')::bigint,
    (each->>'oldestMs')::bigint
from fresh, jsonb_array_elements(line->'exhaustedPools') with ordinality as list (each, rank);

commit;
