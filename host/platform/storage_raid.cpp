/// RAID groups: md arrays.
