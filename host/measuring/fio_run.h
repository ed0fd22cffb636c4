#pragma once

#include <string>

#include "measuring/fio_result.h"
#include "provider/fio/options.h"

namespace host {

/// Runs the host's fio on an open device, for as long as the job takes; it ends with this process,
/// however that ends. The device of the job is not looked at.
/// @param details  where rates and latencies go; empty: nowhere
FioResult run_fio(const provider::fio::Job& job, int device, const std::string& details);

}  // namespace host
