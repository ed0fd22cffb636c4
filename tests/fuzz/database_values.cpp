// A database whose file is whole and whose values are not what they should be: a digit for the use
// that is made of it, and a line for each value.

#include "fuzz/database_use.h"
#include "fuzz/target.h"
#include "fuzz/world.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    fuzz::renew_database();
    fuzz::put_values(fuzz::text_of(data + 1, size - 1));
    fuzz::use_database(data[0]);
    return 0;
}
