-- Deadlocks of a release that no release built before it has shown.
--   psql -v release=2026.11 -f new-deadlocks.sql
select min(kind) as kind, count(distinct device) filter (where release.name = :'release') as devices,
    max(blocked_threads) filter (where release.name = :'release') as most_threads, edges
from deadlock join release on release.name = deadlock.release
group by signature, edges
having bool_or(release.name = :'release')
    and min(built) >= (select built from release where name = :'release')
order by devices desc, most_threads desc, edges;
