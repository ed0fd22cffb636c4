/// Measuring room: what may be measured and discarded, and the programs that do it.
#pragma once

#include <string>
#include <vector>

#include "provider/fio/options.h"

namespace host {

/// The command line of the host's fio for a job. Nothing of the job's text goes into it but what is
/// known: fio has options that write files and run programs.
/// @param device    what it opens
/// @param iops_log  where it notes the rate of each second: this and _iops.1.log; empty: nowhere
/// @throws Failure for a way of asking the kernel that is not known
std::vector<std::string> fio_words(const provider::fio::Job& job, const std::string& device,
                                   const std::string& iops_log);

}  // namespace host
