/// Volumes: logical volumes.
