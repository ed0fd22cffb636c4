/// What drives report of their health.
