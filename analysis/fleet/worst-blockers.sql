-- The ten processes that hold up most in a release: on how many devices, in how many reports, how
-- many threads at once, and for how long.
--   psql -v release=2026.11 -f worst-blockers.sql
select process, count(distinct device) as devices,
    count(distinct (device, name)) as reports, max(blocked_threads) as most_threads,
    max(longest_wait_ms) as longest_ms
from root_blocker
where release = :'release'
group by process
order by devices desc, reports desc, most_threads desc, longest_ms desc nulls last, process
limit 10;
