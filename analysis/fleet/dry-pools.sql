-- Whose binder threads run out most: on how many devices, in how many reports, how many calls waited
-- at once, and for how long. Without a release, over all of them.
--   psql [-v release=2026.11] -f dry-pools.sql
\if :{?release}
\else
    \set release ''
\endif
select process, count(distinct device) as devices, count(distinct (device, release, name)) as reports,
    max(queued) as most_queued, max(oldest_ms) as oldest_ms
from exhausted_pool
where :'release' in ('', release)
group by process
order by devices desc, reports desc, most_queued desc, oldest_ms desc nulls last, process
limit 10;
