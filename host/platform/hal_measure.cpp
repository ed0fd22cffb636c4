/// Measurements of drives.
