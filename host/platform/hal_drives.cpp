/// Which drives were given to this program, and what they say of themselves.
