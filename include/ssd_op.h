/**
 * @file
 * libssd_op: how much over-provisioning does a set of SSDs need?
 *
 * An evaluation takes a set of solid-state drives, discards and measures them, builds a temporary
 * RAID group, storage pool and volume on them, and has the add-on's test script measure the random
 * write rate at each over-provisioning (OP) ratio: the share of the volume that is left free. All
 * that is measured goes into one SQLite database; the storage is taken down again.
 *
 * What the names mean:
 *   - record: one evaluation, in the database; its number is above 0
 *   - drive id: enclosure id << 16 | port id; a drive's data partition is partition 3
 *   - OP ratio: percent of the volume left free, 0 to 100; at most SSD_OP_MAX_RATIOS in a record
 *
 * What comments tell: in a group's head what holds for all of its functions, in a function's
 * comment what holds for it instead. "Locks" is what a call takes and gives back before it returns,
 * "Callers" which process it is meant for, and when.
 *
 * Conventions:
 *   - A function returns 0, or a count, number or id above 0, on success and -1 on failure, unless
 *     its comment says more. Results come back through the caller's pointers.
 *   - No function throws, keeps a pointer it was given, or keeps state in memory between calls: all
 *     state lies in the database, two ini files and the test script's files. Several processes may
 *     call at once. The functions are not meant for several threads of one process.
 *   - Database functions take the lock "kova_ssd_op_db" for the time of the call.
 *   - Records and what hangs on them are heap blocks made with calloc; release them with the
 *     SSD_OP_DB_Free_ functions.
 *   - `need_fork` non-zero: the caller's side returns at once, a child whose standard streams point
 *     at /dev/null goes on and returns from the same call.
 *   - Messages go through the platform's SM_TRACE.
 */
#ifndef SSD_OP_H
#define SSD_OP_H

#include <stdint.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Stands before what the library exports. */
#define SSD_OP_API __attribute__((visibility("default")))

/**
 * @defgroup types Types and limits
 * What records, requests and their parts look like.
 * @{
 */

/** The platform's description of a RAID group to create; see ssd_op/platform/storage.h. */
typedef struct RAID_CONF RAID_CONF;

#define SSD_OP_MAX_RATIOS 20   /**< OP ratios in a record */
#define SSD_OP_MAX_DRIVES 64   /**< member drives of a RAID group */
#define SSD_OP_MAX_SKIPPED 20  /**< OP ratios remembered as skipped */
#define SSD_OP_MAX_RECORDS 256 /**< records looked at by functions that go through all of them */

/** Where a record stands. */
typedef enum ssd_op_test_status {
    SSD_OP_TEST_STATUS_FAILED = -2,    /**< a phase failed, or somebody said so */
    SSD_OP_TEST_STATUS_STOPPED = -1,   /**< somebody stopped it */
    SSD_OP_TEST_STATUS_NEW = 0,        /**< created, not begun */
    SSD_OP_TEST_STATUS_INITIATING = 1, /**< drives are prepared, the storage is created */
    SSD_OP_TEST_STATUS_TESTING = 2,    /**< the test script runs */
    SSD_OP_TEST_STATUS_FINISHING = 3,  /**< results are saved, the storage is removed */
    SSD_OP_TEST_STATUS_COMPLETED = 4   /**< results are saved, the storage is gone */
} ssd_op_test_status;

/** One row of the test script's runtime report. */
typedef struct ssd_op_db_runtime_report {
    int percentage;                        /**< OP ratio */
    int64_t time_slap;                     /**< milliseconds since the ratio's start */
    int result;                            /**< IOPS */
    uint64_t write_amount;                 /**< KiB written since the ratio's start */
    struct ssd_op_db_runtime_report *next; /**< next row, or NULL */
} ssd_op_db_runtime_report;

/** One temperature sample of a drive. */
typedef struct ssd_op_db_ssd_runtime_data {
    int percentage;                          /**< OP ratio */
    int64_t time_slap;                       /**< milliseconds since the ratio's start */
    int temperature;                         /**< degrees Celsius */
    struct ssd_op_db_ssd_runtime_data *next; /**< next sample, or NULL */
} ssd_op_db_ssd_runtime_data;

/** A member drive, as it was when the record was created. */
typedef struct ssd_op_db_ssd_dev {
    uint32_t dev_id;    /**< drive id */
    char vendor[32];    /**< maker */
    char model[41];     /**< model */
    char serial_no[65]; /**< serial number */
    uint64_t capacity;  /**< bytes when read from the database; blocks in a record just created */
    char log_name[32];  /**< name of the slot; only a page of records fills it */
    char revision[16];  /**< firmware */
    char bus_type[16];  /**< for example SATA */
    uint64_t performance_write_s;             /**< sequential write, KiB a second */
    uint64_t performance_write_r;             /**< random write, IOPS */
    uint64_t performance_read_s;              /**< sequential read, KiB a second */
    uint64_t performance_read_r;              /**< random read, IOPS */
    ssd_op_db_ssd_runtime_data *runtime_data; /**< samples of one ratio, or NULL; owned */
} ssd_op_db_ssd_dev;

/** A RAID group of a record. */
typedef struct ssd_op_db_raid_conf {
    int raid_level;         /**< 0, 1, 5, 6 or 10 */
    int raid_id;            /**< number of the group on the appliance, from 800 */
    uint64_t raid_capacity; /**< KiB */
    int ssd_drive_num;      /**< valid entries of ssd_drives */
    ssd_op_db_ssd_dev ssd_drives[SSD_OP_MAX_DRIVES]; /**< member drives */
    struct ssd_op_db_raid_conf *next; /**< next group of the record, or NULL; owned */
} ssd_op_db_raid_conf;

/** One evaluation. */
typedef struct ssd_op_db_record {
    time_t start_time;                       /**< seconds since the epoch */
    time_t end_time;                         /**< seconds since the epoch; 0 while it runs */
    int status;                              /**< ssd_op_test_status */
    int percentage[SSD_OP_MAX_RATIOS];       /**< OP ratios with results, ascending */
    long double result_1[SSD_OP_MAX_RATIOS]; /**< write amplification of the drives */
    long double result_2[SSD_OP_MAX_RATIOS]; /**< IOPS in the steady state */
    int count;                               /**< valid entries of the three arrays */
    int sequential;                          /**< 1: sequential test mode */
    int record_no;                           /**< its number */
    int max_op;                              /**< highest OP ratio asked for, percent */
    int min_op;                              /**< lowest OP ratio asked for, percent */
    int interval;                            /**< from one ratio to the next, percent */
    int stop_service;                        /**< 1: the file services were stopped for the test */
    uint64_t lv_size;                        /**< test volume, MiB */
    uint64_t test_size;                      /**< tested area, MiB */
    char title[256];                         /**< what the user calls it */
    char nas_model[32];       /**< the appliance's model, when the record was created */
    char nas_fw_version[128]; /**< its firmware */
    char nas_serial_no[128];  /**< its serial number */
    char nas_cpu_info[128];   /**< its processor */
    char nas_mem_info[1024];  /**< its memory slots */
    ssd_op_db_runtime_report *runtime_report; /**< rows of one ratio, or NULL; owned */
    ssd_op_db_raid_conf *raid_conf;           /**< first group, or NULL; owned */
    struct ssd_op_db_record *next;            /**< next of a page of records, or NULL; owned */
} ssd_op_db_record;

/** What the test script writes. */
enum {
    SSD_OP_TEST_TYPE_RANDOM = 0,     /**< blocks in random order */
    SSD_OP_TEST_TYPE_SEQUENTIAL = 1, /**< blocks in sequence */
    SSD_OP_TEST_TYPE_ALL = 2         /**< both */
};

/** A request for an evaluation. */
typedef struct ssd_op_test_param {
    char title[256]; /**< what the user calls it */
    int lv_id;       /**< pass 0; receives the test volume's id or a negative error */
    int test_type;   /**< SSD_OP_TEST_TYPE_... */
    int min_op;      /**< lowest OP ratio, percent */
    int max_op;      /**< highest OP ratio, percent */
    int interval; /**< from one ratio to the next, percent; becomes 1 when min_op equals max_op */
    char log_prefix[256]; /**< written by the run: path prefix of the script's files */
    uint64_t test_size;   /**< MiB; 0: the whole volume */
    int stop_service;     /**< non-zero: stop the file services while the storage is created */
    uint64_t min_iops;    /**< see the add-on: a ratio below it is not measured to the end */
    int abort_time;       /**< see the add-on: seconds after which a ratio is given up; 0: never */
} ssd_op_test_param;

/** Who asks, for the event log. */
typedef struct ssd_op_requester {
    char session[17]; /**< not read */
    char address[65]; /**< where the user sits */
    char user[65];    /**< user name */
} ssd_op_requester;

/** @} */

/**
 * @defgroup place Where the database lies
 * The database is one file, ssd_op.db. It lies on the volume that holds the default shares, or,
 * where there is none, in the system area. Nothing remembers which: each call looks on the volume
 * first. A volume whose mount state cannot be told is not mounted. Paths are cut at 255 characters.
 *
 * @locks nothing.
 * @callers any process, at any time.
 * @{
 */

/** The places. */
enum {
    SSD_OP_DB_LOCATION_NONE = 0,   /**< there is no database */
    SSD_OP_DB_LOCATION_VOLUME = 1, /**< the volume that holds the default shares */
    SSD_OP_DB_LOCATION_SYSTEM = 2  /**< the system area */
};

/**
 * Space of the file system that a database at `location` lies on, as df sees it.
 *
 * @param location  SSD_OP_DB_LOCATION_VOLUME or SSD_OP_DB_LOCATION_SYSTEM
 * @param used_kb   receives the KiB in use; 0 when they cannot be read
 * @param avail_kb  receives the KiB free; 0 when they cannot be read
 * @return 0; -1 for another location, or when the volume does not exist or is not mounted; else
 *         what the command that failed returned. -1 without used_kb or avail_kb.
 */
SSD_OP_API int SSD_OP_DB_Get_Location_Usage(int location, unsigned long long *used_kb,
                                            unsigned long long *avail_kb);

/**
 * Find the database.
 *
 * @param location   receives SSD_OP_DB_LOCATION_...; NONE when there is no file. An empty file
 *                   counts as one here.
 * @param path       NULL, or receives the file's path. When there is no file: the path for a new
 *                   one, on the side with more free space (the volume when equal), whose directory
 *                   is then created.
 * @param path_size  size of path in bytes, above 0 when there is a path
 * @return 0; else what creating the directory returned; -1 without a location or with a path of no
 *         size
 */
SSD_OP_API int SSD_OP_DB_Get_Location(int *location, char *path, int path_size);

/**
 * Size of the database.
 *
 * @param size_kb  receives whole KiB; 0 when there is no database
 * @return what SSD_OP_DB_Get_Location returns; -1 without size_kb
 */
SSD_OP_API int SSD_OP_DB_Get_Size(unsigned long long *size_kb);

/**
 * Move the database to the other place.
 *
 * To the volume, it moves only when the volume's free space is greater than the system area's plus
 * the file's size; to the system area, only when the free space there is greater than the file's
 * size. What a killed process left undone in the file is undone first, since the file that says so
 * would stay behind.
 *
 * Whatever dies, fails or runs out of room on the way, the database is whole at one of the places.
 * Beside it lie ssd_op.db.arriving, .leaving or .arrived meanwhile. Whoever opens the database next
 * settles what was not brought to an end: waits, holding the lock, up to a minute for a command
 * that outlived its caller, and removes these files and what is not whole. When that is not
 * possible the database is not opened. A link is not moved, nor anything from a file system without
 * hard links.
 *
 * @param location  SSD_OP_DB_LOCATION_VOLUME or SSD_OP_DB_LOCATION_SYSTEM
 * @return 0, also when it lies there already; -1 when the move is refused, also because there is
 *         no database or no mounted volume, a change in it cannot be undone, or the files beside it
 *         cannot be made; else the OR of what the commands returned, or 1 when they succeeded and
 *         the file could not be written out to the disk. When moving has failed the database is
 *         where it was.
 * @locks the database, while it moves.
 */
SSD_OP_API int SSD_OP_DB_Set_Location(int location);

/** @} */

/**
 * @defgroup version Its version
 * Not called by the library itself: the add-on's installer calls them before and after it replaces
 * the library. One step leads from each version to the next. A step and the version
 * that it leads to are stored together or not at all, so that an interrupted way can be taken up
 * again.
 *
 * Records survive in both directions, save for what an older version has no place for (versions
 * below 6: temperature samples; 2: what records say beyond title, times, status and range), with
 * one exception: the step between versions 1 and 2 deletes the database, in either direction. The
 * record limit is kept.
 *
 * @locks the database, several times.
 * @callers the add-on's installer, while no evaluation runs.
 * @{
 */

/**
 * Bring the database to the current version, 6.
 *
 * @return 0, also when there is nothing to do or the version cannot be read; -1 when a step
 *         failed, which leaves the version of the last step that worked
 */
SSD_OP_API int SSD_OP_DB_Version_Upgrade(void);

/**
 * Bring the database down to an older version.
 *
 * @param version  from 0; at or above the stored version nothing is done
 * @return 0, also when there is nothing to do; -1 when a step failed or the version is negative
 */
SSD_OP_API int SSD_OP_DB_Version_Downgrade(int version);

/** @} */

/**
 * @defgroup records Records
 * Their creation, changes and release.
 *
 * @locks the database.
 * @callers the driver of an evaluation, a child of whoever started it.
 * @{
 */

/**
 * Store a new record with its groups and drives, and with who the appliance and the drives are
 * now.
 *
 * All parts are stored in one transaction: whatever fails, and wherever the process is killed, the
 * record is there with all of them or not at all. Drives stay known when only a part of the record
 * was refused.
 *
 * A record gets the number after the highest in use, which a dropped record may have had. Rows that
 * such a record has left (samples, results, groups) are deleted first, with a trace of how many of
 * each table; when they cannot be, no record is created, rather than one that inherits them.
 *
 * @param record  in: start_time, end_time, status, title, sequential, min_op, max_op, interval,
 *                stop_service, lv_size, test_size and for each group raid_level, raid_id,
 *                raid_capacity, ssd_drive_num and each drive's dev_id. Out: record_no, the nas_
 *                texts and each drive's vendor, model, serial_no, revision and capacity (in
 *                blocks). Texts are stored byte for byte; those of a drive in full, even where the
 *                record's field cuts them. An identity that cannot be read is "--". Memory slots
 *                appear in nas_mem_info for as long as whole entries fit. Stays the caller's.
 * @return 0; -1 when a drive is not there, when a part could not be stored, or without a record or
 *         database
 */
SSD_OP_API int SSD_OP_DB_New_Record(ssd_op_db_record *record);

/**
 * @name Changes of one field
 * A change of a record (not of a group) also deletes the oldest records beyond the record limit,
 * whether they run or not; their rows in other tables stay, out of reach.
 * @{
 */

/**
 * Store the size of the tested area.
 *
 * @param test_size  MiB
 * @param record_no  number of the record
 * @return 0, also when there is no such record; -1 when the database cannot be opened or written
 */
SSD_OP_API int SSD_OP_DB_Update_Record_Test_Size(unsigned long long test_size, int record_no);

/**
 * Store the size of the test volume.
 *
 * @param lv_size    MiB
 * @param record_no  number of the record
 * @return 0, also when there is no such record; -1 when the database cannot be opened or written
 */
SSD_OP_API int SSD_OP_DB_Update_Record_LV_Size(unsigned long long lv_size, int record_no);

/**
 * Store the usable capacity of a record's group.
 *
 * @param capacity   KiB
 * @param record_no  number of the record
 * @param raid_id    number of the group
 * @return 0, also when the record has no such group; -1 when the database cannot be opened or
 *         written
 */
SSD_OP_API int SSD_OP_DB_Update_Record_RAID_Capacity(unsigned long long capacity, int record_no,
                                                     int raid_id);

/**
 * Store a record's status, and nothing else; SSD_OP_Test_Set_Status tells watchers of it, too.
 *
 * @param status     ssd_op_test_status
 * @param record_no  number of the record
 * @return 0, also when there is no such record; -1 when the database cannot be opened or written
 */
SSD_OP_API int SSD_OP_DB_Update_Record_Status(int status, int record_no);

/**
 * Store when a record ended.
 *
 * @param end_time   seconds since the epoch; 0: it runs
 * @param record_no  number of the record
 * @return 0, also when there is no such record; -1 when the database cannot be opened or written
 */
SSD_OP_API int SSD_OP_DB_Update_Record_End_Time(int end_time, int record_no);

/** @} */

/**
 * Whether there is such a record.
 *
 * @param record_no  number of the record
 * @return 1 or 0; 0 also when the question failed; -1 when the database cannot be opened
 * @callers any process, at any time.
 */
SSD_OP_API int SSD_OP_DB_Record_Is_Exist(int record_no);

/**
 * @name Release of memory
 * All of them accept NULL, and leave the list that they free empty.
 * @{
 */

/**
 * Free a record, all that hangs on it, and every record that follows it in its list.
 *
 * @param record  from calloc, or NULL; not to be used any more
 * @locks nothing.
 * @callers whoever owns the record.
 */
SSD_OP_API void SSD_OP_DB_Free_Record(ssd_op_db_record *record);

/**
 * Free a record's groups with the samples of their drives.
 *
 * @param record  stays the caller's, without groups; or NULL
 * @locks nothing.
 * @callers whoever owns the record.
 */
SSD_OP_API void SSD_OP_DB_Free_RAID_Conf(ssd_op_db_record *record);

/**
 * Free a record's runtime report.
 *
 * @param record  stays the caller's, without the report; or NULL
 * @locks nothing.
 * @callers whoever owns the record.
 */
SSD_OP_API void SSD_OP_DB_Free_Runtime_Report(ssd_op_db_record *record);

/**
 * Free the samples of all drives of one group, not of the groups after it.
 *
 * @param raid  stays the caller's, without samples; or NULL
 * @locks nothing.
 * @callers whoever owns the group.
 */
SSD_OP_API void SSD_OP_DB_Free_SSD_Runtime_Data(ssd_op_db_raid_conf *raid);

/** @} */
/** @} */

/**
 * @defgroup queries Queries
 * All of them return -1 when the database cannot be opened or a pointer is missing, unless said
 * otherwise. A database may hold more than an array of the result has room for (a damaged one, or
 * one from elsewhere): what does not fit is left out, which is traced once. A column without a
 * value reads as 0 or an empty text. When a query fails after some rows, those stay in the result,
 * to be freed as usual.
 *
 * @locks the database.
 * @callers any process, at any time.
 * @{
 */

#define SSD_OP_ANY_STATUS 999 /**< status for SSD_OP_DB_Query_Record_Simple: all of them */

/**
 * Read a record with its groups and drives, without results, reports and samples.
 *
 * @param record_no  number of the record
 * @param record  zeroed by the caller (calloc); receives the record, and owns the groups added to
 *                it. A record without drives leaves it as it is.
 * @return 0; -1 without a record, for a record that does not exist, or when the query failed
 */
SSD_OP_API int SSD_OP_DB_Query_Record(int record_no, ssd_op_db_record *record);

/**
 * Read a page of records, newest first as they are counted, with their groups and drives and the
 * names of the drives' slots. Records without drives are counted but not listed.
 *
 * @param list    points to NULL; receives the first record of a list, which the caller frees with
 *                SSD_OP_DB_Free_Record
 * @param offset  records to skip
 * @param count   records to read, at most
 * @param status  only those in this status; SSD_OP_ANY_STATUS: all
 * @return 0; -1 when the query failed
 */
SSD_OP_API int SSD_OP_DB_Query_Record_Simple(ssd_op_db_record **list, int offset, int count,
                                             int status);

/**
 * Numbers of the oldest records, ascending.
 *
 * @param record_nos  room for max numbers
 * @param max         above 0
 * @return how many were stored; -1 on failure
 */
SSD_OP_API int SSD_OP_DB_Query_Record_No(int *record_nos, int max);

/**
 * How many records there are.
 *
 * @return the count; -1 on failure
 */
SSD_OP_API int SSD_OP_DB_Query_Record_Count(void);

/**
 * Number of the newest record.
 *
 * @return above 0; 0 when there is none or the query failed; -1 when the database cannot be opened
 */
SSD_OP_API int SSD_OP_DB_Get_Newest_Record(void);

/**
 * A record's status.
 *
 * @param record_no  number of the record
 * @return ssd_op_test_status; -1 also when it does not exist or the query failed, which is what a
 *         stopped record gives. SSD_OP_DB_Record_Is_Exist tells them apart.
 */
SSD_OP_API int SSD_OP_DB_Query_Record_Status(int record_no);

/**
 * The number that connects a drive of a record with its temperature samples.
 *
 * @param record_no  number of the record
 * @param raid_id    number of the drive's group
 * @param dev_id     drive id
 * @return above 0; 0 when the record has no such drive in that group; -1 when the record does not
 *         exist or the query failed
 */
SSD_OP_API int SSD_OP_DB_Query_SSD_Select_No(int record_no, int raid_id, int dev_id);

/**
 * Whether one of the drives is in a test: belongs to the newest of the running records
 * (initiating, testing or finishing). Older running records are not looked at.
 *
 * @param dev_ids  n drive ids
 * @param n        0 or below: no drives, so none is in a test
 * @return 1 or 0; 0 also when the database cannot be opened or asked; -1 without dev_ids
 */
SSD_OP_API int SSD_OP_DB_Query_SSD_In_Testing(int *dev_ids, int n);

/**
 * OP ratios for which a record has a runtime report, in no particular order.
 *
 * @param percentages  room for max ratios
 * @param max          above 0
 * @param record_no    number of the record
 * @return how many were stored; -1 on failure
 */
SSD_OP_API int SSD_OP_DB_Query_Runtime_Percentage(int *percentages, int max, int record_no);

/**
 * Number of runtime-report rows of a record's ratio.
 *
 * @param record_no   number of the record
 * @param percentage  OP ratio
 * @return the count; 0 also when the query failed; -1 when the database cannot be opened
 */
SSD_OP_API int SSD_OP_DB_Query_Record_Runtime_Count(int record_no, int percentage);

/**
 * Read a record's results into its count, percentage, result_1 and result_2, by ascending ratio.
 *
 * @param record     the caller's; it need not be of that record
 * @param record_no  number of the record to read
 * @return 0; -1 without a record or when the query failed
 */
SSD_OP_API int SSD_OP_DB_Query_Record_Test_Data(ssd_op_db_record *record, int record_no);

/**
 * Read the runtime report of a record's ratio into a new list, in the order of the import.
 *
 * @param record  its runtime_report receives the list; one that is there already is not freed.
 *                Free it with SSD_OP_DB_Free_Runtime_Report or with the record.
 * @param record_no   number of the record to read
 * @param percentage  OP ratio
 * @param every   1: every row; n: only rows whose number in the whole table is a multiple of n, a
 *                sample of about one in n; 0: none
 * @return 0; -1 without a record, when the query failed or memory is short
 */
SSD_OP_API int SSD_OP_DB_Query_Record_Runtime_Report(ssd_op_db_record *record, int record_no,
                                                     int percentage, int every);

/**
 * Read a drive's temperature samples at a record's ratio into a new list, in the order of the
 * import.
 *
 * @param ssd  names the drive by its dev_id; its runtime_data receives the list; one that is there
 *             already is not freed. Free it with SSD_OP_DB_Free_SSD_Runtime_Data or with the
 *             record.
 * @param record_no   number of the record
 * @param percentage  OP ratio
 * @return 0; -1 without a drive, when the query failed or memory is short
 */
SSD_OP_API int SSD_OP_DB_Query_SSD_Runtime_Data(ssd_op_db_ssd_dev *ssd, int record_no,
                                                int percentage);

/** @} */

/**
 * @defgroup imports Imports
 * Results of one test step into the database: a call adds all of its rows or none.
 *
 * The two files hold one sample a line. Fields are separated by any run of blanks, tabs and
 * commas; text after the last field that is read is ignored. A line that is empty or lacks a field
 * makes the whole import fail; a file without lines is imported. Lines are read in pieces of 127
 * bytes, each of which counts as a line. The last line needs no line end; of a line with a NUL
 * byte only what stands before it is read. Only a regular file is opened: the import fails at once
 * for a link, a pipe or a device, which could hold the lock for ever.
 *
 * @locks the database.
 * @callers the test script's programs, behind each ratio; the results also the driver.
 * @{
 */

/**
 * Store the results of a record's ratios: a ratio that has results gets the new ones, others of
 * the record stay.
 * One transaction: on a failure all results are as they were.
 *
 * @param record  record_no and the first count entries of percentage, result_1 and result_2; at
 *                most SSD_OP_MAX_RATIOS. Not changed.
 * @return 0; -1 without a record or without results, or when the database cannot be opened or
 *         written
 */
SSD_OP_API int SSD_OP_DB_Update_Test_Data(const ssd_op_db_record *record);

/**
 * Store the results of one ratio in the same way.
 *
 * @param record_no   number of the record
 * @param percentage  OP ratio
 * @param result_1    write amplification of the drives
 * @param result_2    IOPS in the steady state
 * @return 0; -1 when the database cannot be opened or written
 */
SSD_OP_API int SSD_OP_DB_Update_Test_Result(int record_no, int percentage, long double result_1,
                                            long double result_2);

/**
 * Import the runtime report of one ratio. Rows that are there already stay. When the database
 * cannot tell the order of the table's columns the import fails, whatever the file has.
 *
 * @param record_no    number of the record
 * @param percentage   OP ratio
 * @param report_csv   path of the file. Fields of a line: time_slap, result, two that are not
 *                     stored, write_amount.
 * @param reason_code  254: the ratio was skipped. That is counted in the runtime state and written
 *                     to the event log, whatever becomes of the file. Others: nothing of that
 *                     kind.
 * @return 0; -1 when the database cannot be opened or written, without a path, for a record that
 *         does not exist, or when the file cannot be read or has a line that makes it fail
 * @locks the database; with 254 also, and before it, the add-on's file, access by access.
 */
SSD_OP_API int SSD_OP_DB_Update_Runtime_Report(int record_no, int percentage,
                                               const char *report_csv, int reason_code);

/**
 * Import the temperature samples of one ratio, in place of those that the record's drives have for
 * it. When the file cannot be imported the ratio is left without samples; when those of before
 * cannot be removed, the import fails and they stay, so that no sample is there twice.
 *
 * @param record_no    number of the record
 * @param percentage   OP ratio
 * @param runtime_csv  path of the file. Fields of a line: time_slap, the drive's dev_id, its
 *                     number from SSD_OP_DB_Query_SSD_Select_No, temperature.
 *                     SSD_OP_Test_Collect_SSD_Info and SSD_OP_Test_Record_SSD_Info write such
 *                     files.
 * @return 0; -1 when the database cannot be opened or written, without a path, for a record that
 *         does not exist, or when the file cannot be read or has a line that makes it fail
 */
SSD_OP_API int SSD_OP_DB_Update_SSD_Runtime_Data(int record_no, int percentage,
                                                 const char *runtime_csv);

/** @} */

/**
 * @defgroup kept Deletion, and how many records are kept
 * What makes records go.
 *
 * @locks the database.
 * @callers any process, at any time. Nobody is asked, and it is not looked at whether an evaluation
 *          runs.
 * @{
 */

/**
 * Delete a record, or all of them: its results, reports, samples, groups and its runtime state.
 * Drives stay known. The file is compacted, and the event log says what was done, or that it
 * failed.
 *
 * The runtime state goes first and the rest in one transaction: on any failure the record is there
 * with all its rows.
 *
 * @param record_no  the record; -1: all records
 * @return 0; -1 when there is no such record or the database cannot be opened; else what SQLite
 *         says of the deletion that failed
 * @locks the database and, before it, the files of the runtime state.
 */
SSD_OP_API int SSD_OP_DB_Delete_Record(int record_no);

/**
 * How many records the database keeps: with every change of a record the oldest beyond that number
 * are dropped.
 *
 * @return the limit; 30 when the database does not say; -1 when it cannot be opened
 */
SSD_OP_API int SSD_OP_DB_Query_Max_Record_Limit(void);

/**
 * Change that number. The oldest records beyond it are deleted at once, save for their drives'
 * temperature samples and their runtime state.
 *
 * @param limit  above 0
 * @return 0; -1, with nothing changed, for another limit or when the database cannot be opened or
 *         written
 */
SSD_OP_API int SSD_OP_DB_Update_Max_Record_Limit(int limit);

/** @} */

/**
 * @defgroup state Runtime state
 * What a running test shows to other processes, in two ini files with a section "Record_<number>"
 * for each record: the runtime-info file (/etc/.sm_v2_ssd_op_runtime_info), in which the test
 * script keeps keys of its own, and the add-on's ssd_opr.conf.
 *
 * A value that nobody has written yet makes its getter return -1 and leave *value as it was, so set
 * a default before the call. Functions of the add-on's file (marked "Add-on") return -1 when the
 * add-on is not installed; nothing is read or written then. A pair of a getter and a setter has one
 * comment: the last parameter receives the value, or is the value.
 *
 * @locks the file that is read or written, for the time of the access, and no other.
 * @callers any process reads, at any time; the driver writes, unless said otherwise.
 * @{
 */

/**
 * How many OP ratios a record tests: 1 when min_op equals max_op or interval is 0, otherwise
 * (max_op - min_op) / interval + 1. Computed from the record, not read from the state.
 *
 * @param record_no  number of the record, when none is given
 * @param record     the record, or NULL to have it read from the database
 * @param op_count   receives the count; damaged limits can make it 0 or less
 * @return 0; -1 without op_count, and when the record has to be read and cannot be, *op_count then
 *         stays as it was
 * @locks the database, when the record is read.
 * @callers any process, at any time.
 */
SSD_OP_API int SSD_OP_Test_Get_OP_Count(int record_no, const ssd_op_db_record *record,
                                        int *op_count);

/**
 * Publish the count for readers of the file.
 *
 * @param record_no  number of the record
 * @param op_count   the count
 * @return 0; -1 when it cannot be written
 */
SSD_OP_API int SSD_OP_Test_Set_OP_Count(int record_no, int op_count);

/** @{ */
/**
 * Advance inside the record's present status; every change of status puts it at 0.
 *
 * @param record_no      number of the record
 * @param step_progress  percent, 0 to 100
 * @return 0; -1 when it cannot be written; of Get, when nobody has written it, or without a pointer
 */
SSD_OP_API int SSD_OP_Test_Get_Step_Progress(int record_no, int *step_progress);
SSD_OP_API int SSD_OP_Test_Set_Step_Progress(int record_no, int step_progress);
/** @} */

/** @{ */
/**
 * The child that stops the file services while the storage is created.
 *
 * @param record_no  number of the record
 * @param pid        its process id
 * @return 0; -1 when it cannot be written; of Get, when nobody has written it, or without a pointer
 */
SSD_OP_API int SSD_OP_Test_Get_Stop_Service_PID(int record_no, int *pid);
SSD_OP_API int SSD_OP_Test_Set_Stop_Service_PID(int record_no, int pid);
/** @} */

/** @{ */
/**
 * Whether the event about skipped ratios has been sent.
 *
 * @param record_no  number of the record
 * @param sent       non-zero: sent
 * @return 0; -1 when it cannot be written; of Get, when nobody has written it, or without a pointer
 * @callers the front end, whose key it is.
 */
SSD_OP_API int SSD_OP_Test_Get_Skip_OP_Event_Sent(int record_no, int *sent);
SSD_OP_API int SSD_OP_Test_Set_Skip_OP_Event_Sent(int record_no, int sent);
/** @} */

/** @{ */
/**
 * The kind of a stop. Get sets it to 0 when none has been stored.
 *
 * @param record_no  number of the record
 * @param stop_type  SSD_OP_STOP_...
 * @return 0; -1 when it cannot be written; of Get, when nobody has written it, or without a pointer
 * @callers the front end, whose key it is.
 */
SSD_OP_API int SSD_OP_Test_Get_Stop_Type(int record_no, int *stop_type);
SSD_OP_API int SSD_OP_Test_Set_Stop_Type(int record_no, int stop_type);
/** @} */

/** @{ */
/**
 * Add-on, one for all records: whether the user agreed to the anonymous upload of results.
 *
 * An evaluation then ends with an upload, by a script that is made as a new file under /tmp. When
 * it cannot be, or another upload has not ended within a minute, nothing is run and nothing sent.
 *
 * @param agreement  1: agreed
 * @return 0; -1 when it cannot be written; of Get, when nobody has written it, or without a pointer
 * @callers the front end, before a start; the driver reads it at the end.
 */
SSD_OP_API int SSD_OP_Test_Get_User_Agreement(int *agreement);
SSD_OP_API int SSD_OP_Test_Set_User_Agreement(int agreement);
/** @} */

/** @{ */
/**
 * Add-on: number of OP ratios that the test skipped.
 *
 * @param record_no  number of the record
 * @param count      the number
 * @return 0; -1 when it cannot be written; of Get, when nobody has written it, or without a pointer
 * @callers any process reads, at any time; SSD_OP_DB_Update_Runtime_Report writes.
 */
SSD_OP_API int SSD_OP_Test_Get_Skip_OP_Count(int record_no, int *count);
SSD_OP_API int SSD_OP_Test_Set_Skip_OP_Count(int record_no, int count);
/** @} */

/** @{ */
/**
 * Add-on: whether the front end has shown its message about the failed test.
 *
 * @param record_no  number of the record
 * @param shown      non-zero: shown
 * @return 0; -1 when it cannot be written; of Get, when nobody has written it, or without a pointer
 * @callers the front end, whose key it is.
 */
SSD_OP_API int SSD_OP_Test_Get_Failed_Popup(int record_no, int *shown);
SSD_OP_API int SSD_OP_Test_Set_Failed_Popup(int record_no, int shown);
/** @} */

/** @{ */
/**
 * Add-on: whether the front end has shown its message about skipped ratios.
 *
 * @param record_no  number of the record
 * @param shown      non-zero: shown
 * @return 0; -1 when it cannot be written; of Get, when nobody has written it, or without a pointer
 * @callers the front end, whose key it is.
 */
SSD_OP_API int SSD_OP_Test_Get_Skip_OP_Popup(int record_no, int *shown);
SSD_OP_API int SSD_OP_Test_Set_Skip_OP_Popup(int record_no, int shown);
/** @} */

/**
 * Status of a record (ssd_op_test_status), from the database.
 *
 * @param record_no  number of the record
 * @param status  receives it; -1 also when there is no such record, see SSD_OP_DB_Record_Is_Exist
 * @return 0; -1 without status
 * @locks the database.
 */
SSD_OP_API int SSD_OP_Test_Get_Status(int record_no, int *status);

/**
 * Move a record to a status: in the database, then its step progress to 0, then the copy in the
 * runtime-info file. All three are tried whatever the others do.
 *
 * @param record_no  number of the record
 * @param status     ssd_op_test_status
 * @return 0; -1 when the database or the step progress could not be written
 * @locks the database, then the runtime-info file twice, one after the other.
 */
SSD_OP_API int SSD_OP_Test_Set_Status(int record_no, int status);

/**
 * Add-on: remember an OP ratio as skipped. One that is known changes nothing. Safe against other
 * processes that add at the same moment.
 *
 * @param record_no  number of the record
 * @param op  the ratio, in percent; at most seven characters of its text are kept
 * @return 0; -1 when it cannot be written, or SSD_OP_MAX_SKIPPED ratios are remembered already
 *         (with a trace, the list stays as it was)
 * @callers SSD_OP_DB_Update_Runtime_Report, for a ratio that was skipped.
 */
SSD_OP_API int SSD_OP_Test_Add_Skip_OP(int record_no, int op);

/**
 * Add-on: whether an OP ratio was skipped.
 *
 * @param record_no  number of the record
 * @param op         the ratio, in percent
 * @return 1 when it was, 0 when not, -1 when the add-on is not installed
 */
SSD_OP_API int SSD_OP_Test_Is_Skip_OP(int record_no, int op);

/**
 * Remove a record's section from both files. The user's agreement stays.
 *
 * @param record_no  number of the record
 * @return 0; -1 when one of the files could not be changed. Without the add-on nothing is removed.
 * @locks the runtime-info file, then the add-on's, one after the other.
 * @callers SSD_OP_DB_Delete_Record; others when the record is gone.
 */
SSD_OP_API int SSD_OP_Test_Remove_Runtime_Info(int record_no);

/** @} */

/**
 * @defgroup progress Progress
 * Figures for whoever watches a test. They come from the record, the keys that the test script
 * keeps in the runtime-info file, and the script's status file /etc/.sm_v2_ssd_op_test_<number>.
 * Nothing is locked from one read to the next: figures of one moment may differ by a step. A NULL
 * record is read from the database, under its lock.
 *
 * The figures are what the script wrote and what follows from it, sensible or not: a percentage may
 * be negative, above 100, infinite or no number, a time may be longer than any test. Whoever shows
 * them to a person checks them first. Numbers have a decimal point, whatever the locale. Where a
 * result does not fit its type it is the nearest number that does, and 0 for what is no number;
 * only the seconds of SSD_OP_Test_Get_Current_OP_ETA wrap around as unsigned sums do.
 *
 * @locks the runtime-info file, for the time of an access, and the database when a record is read.
 * @callers any process, at any rate, while the record is testing.
 * @{
 */

/**
 * Key of the script: the OP ratio measured now.
 *
 * @param record_no   number of the record
 * @param percentage  receives percent; -1 while the volume is being filled, -2 once all ratios are
 *                    done
 * @return 0; -1 when the script has not written it, which leaves the value as it was, and without
 *         the pointer
 */
SSD_OP_API int SSD_OP_Test_Get_Current_OP_Percentage(int record_no, int *percentage);

/**
 * Key of the script: steps for each ratio.
 *
 * @param record_no  number of the record
 * @param steps      receives the number
 * @return 0; -1 when the script has not written it, which leaves the value as it was, and without
 *         the pointer
 */
SSD_OP_API int SSD_OP_Test_Get_Current_OP_Total_Step(int record_no, int *steps);

/**
 * Key of the script: the step running now.
 *
 * @param record_no  number of the record
 * @param step       receives its number, from 1
 * @return 0; -1 when the script has not written it, which leaves the value as it was, and without
 *         the pointer
 */
SSD_OP_API int SSD_OP_Test_Get_Current_OP_Running_Step(int record_no, int *step);

/**
 * Key of the script: whether its status file tells about the current ratio.
 *
 * @param record_no  number of the record
 * @param detail     receives non-zero when it does
 * @return 0; -1 when the script has not written it, which leaves the value as it was, and without
 *         the pointer
 */
SSD_OP_API int SSD_OP_Test_Get_Current_OP_Detail(int record_no, int *detail);

/**
 * Key of the script: when the current ratio began.
 *
 * @param record_no  number of the record
 * @param start      receives seconds since the epoch
 * @return 0; -1 when the script has not written it, which leaves the value as it was, and without
 *         the pointer
 */
SSD_OP_API int SSD_OP_Test_Get_Current_OP_Start_Time(int record_no, unsigned long long *start);

/**
 * @name Fields of the script's status file
 * Each call runs one command. A field that holds no number is 0.
 * @{
 */

/**
 * Progress of the current ratio.
 *
 * @param record_no  number of the record
 * @param progress   receives percent
 * @return 0; otherwise the command's result, and the value stays as it was. -1 without the pointer
 *         and, with a trace, when the file is no regular file or above 1 MiB: it is not opened
 *         then.
 * @locks nothing.
 */
SSD_OP_API int SSD_OP_Test_Get_Current_OP_Progress(int record_no, float *progress);

/**
 * Time left for the current ratio.
 *
 * A time has one of the forms "1d:2h:3m:4s", "2h:3m:4s", "3m:4s" and "4s"; the first that has as
 * many numbers as it needs counts, and what follows its last number does not matter. A negative
 * number is none. A text in no such form leaves the value as it was.
 *
 * @param record_no    number of the record
 * @param eta_seconds  receives seconds
 * @return 0; otherwise the command's result, and the value stays as it was. -1 without the pointer
 *         and, with a trace, when the file is no regular file or above 1 MiB: it is not opened
 *         then.
 * @locks nothing.
 */
SSD_OP_API int SSD_OP_Test_Get_Current_OP_ETA(int record_no, unsigned long long *eta_seconds);

/**
 * Test amount of the current ratio, as the script gives it.
 *
 * @param record_no  number of the record
 * @param amount     receives it
 * @return 0; otherwise the command's result, and the value stays as it was. -1 without the pointer
 *         and, with a trace, when the file is no regular file or above 1 MiB: it is not opened
 *         then.
 * @locks nothing.
 */
SSD_OP_API int SSD_OP_Test_Get_Current_OP_Test_Amount(int record_no, unsigned long long *amount);

/**
 * Test value of the current ratio, as the script gives it.
 *
 * @param record_no  number of the record
 * @param value      receives it
 * @return 0; otherwise the command's result, and the value stays as it was. -1 without the pointer
 *         and, with a trace, when the file is no regular file or above 1 MiB: it is not opened
 *         then.
 * @locks nothing.
 */
SSD_OP_API int SSD_OP_Test_Get_Current_OP_Test_Value(int record_no, long double *value);

/** @} */

/**
 * Overall progress in percent: 0 for a new record, up to 10 while it is initiating, 11 to 90 while
 * the script tests, 91 to 100 while it is finishing, 100 when it has ended in whatever way. Beyond
 * that when a figure that it is computed from is beyond 0 to 100. Figures that cannot be read count
 * as 0; an unknown status leaves *progress as it was.
 *
 * @param record_no  number of the record
 * @param record     the record, or NULL to have it read from the database
 * @param progress   receives percent; NULL: nothing is done
 * @return 0
 * @callers any process, at any rate; once a second is plenty.
 */
SSD_OP_API int SSD_OP_Test_Get_Progress(int record_no, const ssd_op_db_record *record,
                                        float *progress);

/**
 * Estimated seconds until the script is done: what the current ratio has left, and for each ratio
 * above it 80 percent of the current one's whole time. 0 unless the record is testing, and before
 * its first ratio.
 *
 * @param record_no  number of the record
 * @param record     the record, or NULL to have it read from the database
 * @param seconds    receives seconds
 * @return 0; -1 without seconds, and when the record has to be read and cannot be
 */
SSD_OP_API int SSD_OP_Test_Get_Remain_Time(int record_no, const ssd_op_db_record *record,
                                           unsigned long long *seconds);

/**
 * Steps of the whole test: ratios times steps for each.
 *
 * @param record_no  number of the record
 * @param record     the record, or NULL to have it read from the database
 * @param total      receives the number
 * @return 0; -1 without total, and when ratios or steps are not known
 */
SSD_OP_API int SSD_OP_Test_Get_Total_Test_Count(int record_no, const ssd_op_db_record *record,
                                                int *total);

/**
 * Steps done: all of the ratios above the current one and those of the current one before the
 * running step. The same ratios are still to come for SSD_OP_Test_Get_Remain_Time: which of the two
 * is right depends on the order in which the script visits them. Stays as it was before the first
 * ratio. An interval of 0 or less leads to no further ratio.
 *
 * @param record_no  number of the record
 * @param record     the record, or NULL to have it read from the database
 * @param complete   receives the number
 * @return 0; -1 without complete, and when the record has to be read and cannot be
 */
SSD_OP_API int SSD_OP_Test_Get_Complete_Test_Count(int record_no, const ssd_op_db_record *record,
                                                   int *complete);

/** @} */

/**
 * @defgroup events Events
 * What users are told.
 *
 * @locks the database, while a record is read.
 * @callers any process, at any time; the library reports the events of its own work itself.
 * @{
 */

/** Type for SSD_OP_Write_System_Log: whether it wants a record_no, and what detail points to. */
enum {
    SSD_OP_EVENT_STARTED = 0,         /**< record */
    SSD_OP_EVENT_STEP_FAILED = 1,     /**< record; ssd_op_event_step */
    SSD_OP_EVENT_COMPLETED = 2,       /**< record */
    SSD_OP_EVENT_STOPPED = 3,         /**< record */
    SSD_OP_EVENT_UPLOADING = 4,       /**< record */
    SSD_OP_EVENT_RECORD_DELETED = 5,  /**< const char: the record's title */
    SSD_OP_EVENT_ALL_DELETED = 6,     /**< neither */
    SSD_OP_EVENT_DELETE_FAILED = 7,   /**< neither */
    SSD_OP_EVENT_FAILED = 8,          /**< record; NULL before the test, or int: a RAID id, or -1 */
    SSD_OP_EVENT_STORAGE_CREATED = 9, /**< int: a RAID id */
    SSD_OP_EVENT_STORAGE_REMOVED = 10 /**< int: a RAID id */
};

/** What became of a step of a test. */
enum {
    SSD_OP_STEP_SKIPPED = 254, /**< a ratio is skipped */
    SSD_OP_STEP_FAILED = 255   /**< drives take no discards, or the script failed */
};

/** Detail of SSD_OP_EVENT_STEP_FAILED. */
typedef struct ssd_op_event_step {
    int code;       /**< SSD_OP_STEP_...; any other reports nothing */
    int percentage; /**< the skipped ratio */
} ssd_op_event_step;

/**
 * Report an event to the user: to the notification service when that application is installed and
 * active, otherwise to the event log. Start, completion, stop, and a failure with a detail go to
 * the log engine too.
 *
 * @param requester  an ssd_op_requester, whose user and address the entry names, or NULL
 * @param type       SSD_OP_EVENT_...; any other value does nothing
 * @param record_no  record that the event is about, or NULL; when given it must exist, for any type
 * @param detail     what the type asks for, or NULL
 * @return 0, whatever the services make of it; -1 when something the type wants is missing, or the
 *         record cannot be read: nothing is reported then
 */
SSD_OP_API int SSD_OP_Write_System_Log(const void *requester, int type, const int *record_no,
                                       const void *detail);

/** @} */

/**
 * @defgroup run Running an evaluation
 * One call starts an evaluation and one stops it. The functions between are its phases.
 *
 * @locks the database, for single accesses.
 * @callers the driver of an evaluation.
 * @{
 */

/**
 * Run one evaluation from start to end. All data on the drives is lost.
 *
 * Checks the request, reserves RAID ids from 800 upwards, creates the record, and walks it through
 * its statuses: INITIATING (drives discarded and measured, storage created), TESTING (the test
 * script runs), FINISHING (results saved, storage removed), COMPLETED. A failed phase leaves
 * FAILED; a stop by another process leaves what it set. In every case the results so far are saved,
 * the storage is removed, the services are started again and the end time is stored. Takes minutes
 * to days.
 *
 * Results that could not be stored leave COMPLETED, with a result of -1. No event tells of a status
 * that could not be stored: such a change is tried again for a second, and at the end of the run
 * for some minutes, after which a record that still is NEW, INITIATING or TESTING becomes FAILED.
 *
 * The process that drives a record is announced in its runtime state (key "driver") before the
 * record is INITIATING, so that others can tell a record that is worked on from one that broke off.
 *
 * Refused before anything is created: what a record cannot hold, that is more than
 * SSD_OP_MAX_RATIOS ratios, ratios outside 0 to 100, and more than SSD_OP_MAX_DRIVES drives in a
 * group. Ratios that lead nowhere (an interval of 0 between different ones, min_op above max_op)
 * are the test script's to refuse, which fails the run.
 *
 * @param requester        who asks, for the event log (ssd_op_requester), or NULL
 * @param need_fork        0: run in this process; otherwise in a child that nobody needs to wait
 *                         for, while the caller goes on as soon as the record is INITIATING
 * @param local_raid_conf  groups to test; the caller's. raid_id and the flag RAID_FLAG_ID_RESERVED
 *                         of its entries are written, unless the flag is set already
 * @param param            the request; the caller's. interval, lv_id and log_prefix are written
 * @return the record's number, above 0; -13 for a layout that SSD_OP_Test_Check_RAID rejects; -1
 *         for a refused request, no free RAID id, no record, or a failed or stopped run. When no
 *         child can be made the record becomes FAILED and the result is -1. The child of a forked
 *         run returns from this call, too, with what an unforked run would have returned.
 * @locks the RAID configuration while ids are reserved; the database from the look at the newest
 *        record to the creation of the next; afterwards for single accesses, and never both.
 * @callers a process that has one thread and can do without the child, or waits for it:
 * docs/front-end.md
 */
SSD_OP_API int NAS_SSD_OP_Test_Start(const void *requester, int need_fork,
                                     RAID_CONF *local_raid_conf, ssd_op_test_param *param);

/**
 * Check that every group's level fits its number of members: 1 drive: level 1; 2: 0, 1; 3: 0, 5;
 * other odd numbers: 0, 5, 6; other even numbers: 0, 5, 6, 10.
 *
 * @param raid_list  the groups
 * @return 0; -13 when a group breaks its rule, which a message names, and for an empty list, a list
 *         that runs in a circle, or a count below 0 or above RAID_MAX_DRIVES
 * @locks nothing.
 * @callers any process, before a start, which makes the same check.
 */
SSD_OP_API int SSD_OP_Test_Check_RAID(RAID_CONF *raid_list);

/**
 * Prepare the drives of a new evaluation and create its storage: stop the file services when the
 * record asks for it, discard and measure every drive, create groups, pool and volume.
 *
 * Reports its advance as the record's step progress, 1 to 100, and notices between its steps that
 * the record is no longer INITIATING. Failed discards and measurements are reported and do not end
 * it. Takes a few minutes for each drive.
 *
 * @param raid_list  groups to create, with their RAID ids
 * @param need_fork  0: do it in this process; otherwise in a child
 * @param param      the request, of which test_size is read
 * @param record     the new record; its drives receive their measured figures, its groups their
 *                   capacity, and its test_size (MiB) the volume's size when the request's is 0
 * @return the volume's id, 0 or above; -1 stopped, and in the caller of a child; -10 out of memory;
 *         -13 bad layout; -15 no pool; -24 no volume
 */
SSD_OP_API int SSD_OP_Test_Create_Storage(RAID_CONF *raid_list, int need_fork,
                                          ssd_op_test_param *param, ssd_op_db_record *record);

/**
 * Destroy a test volume and the pool and groups under it.
 *
 * @param lv_id      id of the volume
 * @param need_fork  0: do it in this process; otherwise in a child, which alone learns the outcome
 * @return 0, and in the caller of a child; -12 no such volume; -50 it has no pool; otherwise what
 *         the platform's failed call returned. A pool that cannot be removed stays without a
 *         volume.
 * @locks nothing.
 */
SSD_OP_API int SSD_OP_Test_Remove_Storage(int lv_id, int need_fork);

/**
 * Run the add-on's test script for a request and wait for it.
 *
 * Two arguments of the script, min_iops and abort_time, can be overridden in section Oprella of
 * /root/KOVA_Number1. A script that fails by itself is reported as an event: status 255, and status
 * 254 with the ratio that the script was at (max_op when it did not say).
 *
 * @param param   the request; receives log_prefix, with which all files of the script begin. Files
 *                of an earlier run with that prefix are deleted.
 * @param record  the record, of which record_no and test_size (MiB) are read
 * @return 0 when the script ended with status 0; otherwise -1, also without a volume or add-on and
 *         when the prefix does not fit log_prefix
 */
SSD_OP_API int SSD_OP_Test_Start(ssd_op_test_param *param, ssd_op_db_record *record);

/**
 * Read the results of each ratio from the script's report, store them with the record, and delete
 * the script's files.
 *
 * @param param   the request, with the log_prefix that SSD_OP_Test_Start wrote
 * @param record  receives count, percentage, result_1 and result_2; a ratio that the report does
 *                not have keeps what it had. Ratios beyond SSD_OP_MAX_RATIOS are ignored. Nothing
 *                is read without a prefix, nor, with a trace, from a report that is no regular
 *                file or above 64 MiB.
 * @return what SSD_OP_DB_Update_Test_Data returned
 */
SSD_OP_API int SSD_OP_Test_Save_Result(const ssd_op_test_param *param, ssd_op_db_record *record);

/** Type for NAS_SSD_OP_Test_Stop. */
enum {
    SSD_OP_STOP_NONE = 0,    /**< refused */
    SSD_OP_STOP_BY_USER = 1, /**< status STOPPED, event SSD_OP_EVENT_STOPPED */
    SSD_OP_STOP_FAILED = 2   /**< status FAILED, event SSD_OP_EVENT_FAILED */
};

#define SSD_OP_ALL_RECORDS (-1) /**< record_no for a stop or a deletion */

/**
 * Stop running evaluations (INITIATING, TESTING, FINISHING).
 *
 * For each record: its status is changed, an event reports it, and the processes that work on its
 * drives and volumes are killed. Then the call waits until the records' RAID groups are gone, at
 * most a minute for all of them, and starts the file services again when a stopped evaluation had
 * stopped them, the appliance is neither starting nor shutting down, and no other running
 * evaluation needs them stopped.
 *
 * The driver itself is not killed: it sees the changed status, saves the results so far, removes
 * the storage, starts the services it had stopped and ends. When there is no driver any more, ask
 * for the removal here. docs/stopping.md says what is found, and what cannot be told apart.
 *
 * Of SSD_OP_ALL_RECORDS, the first SSD_OP_MAX_RECORDS that run are stopped, however many there are
 * that do not. Takes 7 seconds for a record with nothing left to end, about two minutes when
 * neither processes nor groups go away.
 *
 * @param requester       who asks, for the event log (ssd_op_requester), or NULL
 * @param need_fork       0: all of it in this process; otherwise the services are started by a
 *                        child, which returns from this call, too, with the same result. When no
 *                        child can be made the services stay as they are.
 * @param record_no       the record, or SSD_OP_ALL_RECORDS
 * @param raid_id         800 or above: only records with this RAID group. Reported as the group
 *                        that failed with SSD_OP_STOP_FAILED; -1 for none.
 * @param remove_storage  non-zero: remove the test volume with its pool and groups at once instead
 *                        of leaving that to the driver; when the driver is known to be gone, also a
 *                        pool or groups without a volume
 * @param type            SSD_OP_STOP_...; any other value kills and removes, and changes no status
 * @return 0 when all went well, and when there is nothing to stop; -1 for SSD_OP_STOP_NONE, when
 *         memory runs out, and when the database does not tell which records run, how many there
 *         are, or that the one asked for does not; otherwise the OR
 *         of what failed, also of a status that could not be written. Below 0: some of it failed,
 *         yet every step was taken.
 * @locks the database for single accesses; a change of a status is one of them.
 * @callers any process, while an evaluation runs.
 */
SSD_OP_API int NAS_SSD_OP_Test_Stop(const void *requester, int need_fork, int record_no,
                                    int raid_id, int remove_storage, int type);

/**
 * Kill the processes that work on a record's drives and test volumes (ids 1568 to 1599) and, when
 * asked, remove these volumes. Does not change the record's status. NAS_SSD_OP_Test_Stop does this
 * for each record that it stops.
 *
 * Processes are found by program and drive name in the process list and end with SIGKILL; the
 * calling process is spared.
 *
 * Numbers of groups are used again. A group that a newer record has, or that has a drive which is
 * not the record's, is another's: it is treated as gone. A pool without a volume and groups without
 * a pool are removed only when, besides, their drives are all of the record's and its driver is
 * known to be gone: what a driver that lives is making is its own, whatever the status says.
 *
 * @param record_no          the record
 * @param type               not used
 * @param remove_storage     non-zero: remove the volumes, with one event for each group, and what a
 *                           dead driver left without one, see above
 * @param old_status         status before the stop; INITIATING: also kill what prepares the drives
 * @param old_step_progress  step progress before the stop, for the trace
 * @return 0; also when there is no such record or one of its groups is gone already; -1 when the
 *         record cannot be read and when the database does not tell whose a group is, since its
 *         drives may be in use then; otherwise the OR of the failed kills and removals
 * @callers any process that knows the record's driver to be gone.
 */
SSD_OP_API int SSD_OP_Test_Stop(int record_no, int type, int remove_storage, int old_status,
                                int old_step_progress);

/** @} */

/**
 * @defgroup steps Steps of a running test
 * What the test script's programs do with the library.
 *
 * @locks the database, briefly, several times.
 * @callers the test script's programs, while the record is testing.
 * @{
 */

/**
 * Move a running test to a new over-provisioning ratio.
 *
 * Shrinks the test volume to (100 - over_provisioning) percent of its recorded size and discards
 * what was cut off, so that the drives count it as spare: on the member drives for RAID 5 and 6,
 * through the volume otherwise. Waits until the drives' discards are done or timed out (one second
 * for each GiB of the largest partition).
 *
 * @param record_no          record under test; its status must be TESTING
 * @param lv_name            device path of its test volume
 * @param over_provisioning  share to leave free, in percent of the volume, 0 to 100
 * @return 0; -1 unknown volume or record, stopped test (the volume keeps its size), bad ratio or
 *         discard timeout; otherwise the OR of the failed steps' results
 */
SSD_OP_API int SSD_OP_Test_Block_Discard_Device(int record_no, const char *lv_name,
                                                int over_provisioning);

/**
 * Measure the write performance of drives with direct I/O, and store it where the platform keeps a
 * drive's figures. 50 seconds for each drive.
 *
 * A drive that is being measured already is skipped. While a measurement runs, the drive's figure
 * reads "testing"; after a failed one, or when fio printed no number, "fail".
 *
 * @param dev_ids     the drives
 * @param count       how many; below 1: nothing is done
 * @param part_nos    for each drive the partition to write to; what lies there is lost
 * @param sequential  non-zero: throughput, in bytes a second; zero: IOPS
 * @param background  non-zero: measure all at the same time, each in a process of its own, and wait
 *                    at most half a minute for them
 * @return in the foreground 0, or -1 when a drive failed; in the background the OR of the process
 *         ids, -1 when a process could not be made; -1 without
 *         dev_ids or part_nos
 * @locks the platform's files of drives and of their figures, for single accesses.
 * @callers the driver, while the record is initiating.
 */
SSD_OP_API int ssd_op_test_disk_write_performance_test(const unsigned *dev_ids, int count,
                                                       const int *part_nos, int sequential,
                                                       int background);

/**
 * Store one measured figure of a record's drive.
 *
 * @param record_no      the record
 * @param raid_id        the drive's group in it
 * @param dev_id         the drive
 * @param is_write       non-zero: a write figure; zero: a read figure
 * @param is_sequential  non-zero: sequential, value in KiB a second; zero: random, value in IOPS
 * @param value          the figure
 * @return 0, also when the record has no such drive; -1 when the database fails
 * @locks the database.
 * @callers the driver, while the record is initiating.
 */
SSD_OP_API int SSD_OP_DB_Update_Disk_Performance(int record_no, int raid_id, int dev_id,
                                                 int is_write, int is_sequential,
                                                 unsigned long long value);

/**
 * Sample the temperatures of all drives under a test volume for as long as the record is TESTING.
 *
 * Each sample is one line for each drive: milliseconds since the start, drive id, selection number
 * in the database, degrees Celsius (0 when the drive does not tell). The first comes after one
 * interval. At most RAID_MAX_DRIVES drives.
 *
 * @param record_no          record under test
 * @param device_name        device path of its test volume
 * @param over_provisioning  only traced
 * @param interval           seconds between samples; below 1: 1
 * @param path               file for the samples; what was in it is lost. Samples go to a regular
 *                           file only, through no link.
 * @return -1, when it is over
 * @locks the database, briefly, for every sample.
 */
SSD_OP_API int SSD_OP_Test_Collect_SSD_Info(int record_no, const char *device_name,
                                            int over_provisioning, int interval, const char *path);

/**
 * Append one sample of the temperatures of a record's drives, in the format of
 * SSD_OP_Test_Collect_SSD_Info.
 *
 * @param record_no  the record
 * @param time_slap  time stamp to write, in milliseconds
 * @param path       file to append to; created when missing. A regular file, and no link.
 * @return 0, also when the record cannot be read or the file not opened
 */
SSD_OP_API int SSD_OP_Test_Record_SSD_Info(int record_no, unsigned long long time_slap,
                                           const char *path);

/**
 * Time between two moments.
 *
 * @param start  the first
 * @param end    the second
 * @return end - start, with tv_nsec from 0 to 999999999
 * @locks nothing.
 * @callers any process, at any time.
 */
SSD_OP_API struct timespec time_diff(struct timespec start, struct timespec end);

/** @} */

/**
 * @defgroup reports Reports
 * Everything that is known about a record, in one file under /tmp. Its name is the test's name, an
 * underscore and the record's title: "/tmp/SSD over-provisioning test_Nightly.csv". A slash in the
 * title is an underscore in the name, and a title too long for a file name is cut; titles that
 * differ only there share a file.
 *
 * A report is written under another name and gets its own when it is whole. An older one is deleted
 * when the writing begins; a link in its place is not followed. Its mode is what the process's
 * umask leaves of 0666.
 *
 * @locks the database, briefly, several times.
 * @callers any process, at any time; a record that runs is reported as far as it got.
 * @{
 */

/**
 * Write a record as comma-separated text.
 *
 * Values stand in it as they are, without quotes: a comma in a title or a drive's name adds a
 * column to its line, and a line end begins another line. Results that cannot be read show as "NG",
 * the samples of a ratio as "No data."; the rest of the report is there all the same.
 *
 * @param record_no  number of the record
 * @param path       receives the file's path, also when the writing fails
 * @param path_size  size of path in bytes; a longer path is cut
 * @return 0; -1 without a path, when the record cannot be read, when memory is short or when the
 *         file cannot be written, which leaves no file of that name
 */
SSD_OP_API int SSD_OP_Test_Export_CSV(int record_no, char *path, int path_size);

/**
 * Write a record as a workbook with one sheet and up to four charts: IOPS by ratio, and for all
 * ratios together IOPS by time, IOPS by the amount written, and the amount by time.
 *
 * A sheet has room for 16,381 samples of a ratio. Samples beyond are left out, which is traced; the
 * CSV report has them. Results that cannot be read show as "NG!!!", the samples of a ratio as
 * "No Data.". The curve of a ratio without samples is empty, and so is the first chart without
 * results; the other three are left out when no ratio has a curve. What a workbook cannot hold,
 * such as bytes that are not UTF-8, is replaced by U+FFFD.
 *
 * It is made in memory, which takes about 220 bytes for each number that stands on the sheet for
 * the samples, three of each. For more than 500,000 it is written row by row instead, in a few
 * megabytes: its charts then have no copy of their points, and only programs that read the cells
 * show curves. It is made in a child process, which this call waits for: the library that lays it
 * out may end its process when memory is short. No child: no workbook.
 *
 * @param record_no  number of the record
 * @param path       receives the file's path, also when the writing fails
 * @param path_size  size of path in bytes; a longer path is cut
 * @return 0; -1 without a path, when the record cannot be read, when memory is short or when the
 *         file cannot be written, which leaves no file of that name
 */
SSD_OP_API int SSD_OP_Test_Export_XLSX(int record_no, char *path, int path_size);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
