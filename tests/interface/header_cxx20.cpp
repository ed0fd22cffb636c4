#include "ssd_op.h"

int ssd_op_header_is_cxx20() { return SSD_OP_TEST_STATUS_COMPLETED; }
