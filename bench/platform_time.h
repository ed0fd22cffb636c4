/// Time that this process has spent inside the platform's calls.
#pragma once

namespace bench {

double seconds_in_platform();

}  // namespace bench
