#pragma once

#include <string>

/// Takes the way to the drives of this host where the command line or the environment asks for it
/// and this process is not there yet: becomes another program then, and comes back only with an
/// exit status of what failed. Otherwise the word that asks is taken off the command line.
/// @param directory  of this program, with a slash
/// @return -1 where this program itself is to go on
int take_host_way(const std::string& directory, int& argc, char**& argv);
