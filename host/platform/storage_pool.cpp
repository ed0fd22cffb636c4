/// Pools: volume groups.
