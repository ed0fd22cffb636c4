/// The same work with nothing around it. Each returns 0 or -1.
#pragma once

namespace bench {

/// Steps through a ratio's rows and reads their columns.
int read_rows(const char* database, int percentage);

/// Opens, reads a record's status, closes; so many times.
int poll_bare(const char* database, int times);

/// Writes the cells and the charts of a workbook with so many ratios of so many samples.
int write_workbook(const char* path, int ratios, int samples, bool rows_at_once);

}  // namespace bench
