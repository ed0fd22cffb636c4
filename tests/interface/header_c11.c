#include "ssd_op.h"

int ssd_op_header_is_c11(void) { return SSD_OP_TEST_STATUS_COMPLETED; }
