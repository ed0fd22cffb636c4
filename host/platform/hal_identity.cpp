/// Who this host is.
