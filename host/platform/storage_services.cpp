/// Volumes with data, and the services that use them.
