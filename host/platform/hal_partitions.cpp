/// The partitions of the drives.
