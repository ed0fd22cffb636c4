/*
 * A front end: starts an evaluation, watches it to its end, makes its reports.
 *
 *     evaluate 5 0x10001 0x10002 0x10003     RAID 5 over three drives; all data on them is lost
 *
 * docs/life-of-an-evaluation.md tells what stands behind each step.
 */
#define _POSIX_C_SOURCE 200809L

#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "ssd_op.h"
#include "ssd_op/platform/storage.h" /* what a RAID_CONF is */

static const ssd_op_requester requester = {.address = "localhost", .user = "evaluate"};

static int read_number(const char *text, long *number) {
    char *end = NULL;
    *number = strtol(text, &end, 0);
    return end != text && *end == '\0' ? 0 : -1;
}

static int read_group(int count, char **arguments, RAID_CONF *group) {
    long number = 0;
    if (count < 3 || count - 2 > SSD_OP_MAX_DRIVES || read_number(arguments[1], &number) != 0)
        return -1;
    group->raid_level = (int)number;
    group->drive_num = count - 2;
    for (int i = 0; i < group->drive_num; ++i) {
        if (read_number(arguments[2 + i], &number) != 0) return -1;
        group->drive_ids[i] = (uint32_t)number;
    }
    return 0;
}

/* Returns the record's number, above 0, as soon as the evaluation runs in a child: its driver. */
static int start(RAID_CONF *group) {
    /* What is not named is 0: the whole volume, nothing given up, services left alone. */
    ssd_op_test_param request = {.title = "Example", .max_op = 20, .interval = 10};
    /* The driver inherits the mask: Ctrl-C and a closed terminal end this program alone. */
    sigset_t terminal, before;
    if (sigemptyset(&terminal) != 0 || sigaddset(&terminal, SIGINT) != 0 ||
        sigaddset(&terminal, SIGHUP) != 0 || sigprocmask(SIG_BLOCK, &terminal, &before) != 0)
        return -1;
    const pid_t caller = getpid();
    const int record_no = NAS_SSD_OP_Test_Start(&requester, 1, group, &request);
    /* The driver comes back from the same call, when the evaluation is over. */
    if (getpid() != caller) _exit(record_no > 0 ? EXIT_SUCCESS : EXIT_FAILURE);
    if (sigprocmask(SIG_SETMASK, &before, NULL) != 0) perror("sigprocmask");
    return record_no;
}

static const char *word_for(int status) {
    static const char *const words[] = {"failed",  "stopped",   "new",      "initiating",
                                        "testing", "finishing", "completed"};
    const int known = status >= SSD_OP_TEST_STATUS_FAILED && status <= SSD_OP_TEST_STATUS_COMPLETED;
    return known ? words[status - SSD_OP_TEST_STATUS_FAILED] : "unknown";
}

/* Prints what changes until the driver has ended; the last status may come before that. */
static int watch(int record_no) {
    int status = SSD_OP_TEST_STATUS_NEW, shown_status = status, shown_percent = 0;
    for (pid_t ended = 0; ended == 0; sleep(1)) {
        ended = waitpid(-1, NULL, WNOHANG); /* first, so that the last look sees the end */
        float percent = 0;
        unsigned long long seconds = 0;
        if (SSD_OP_Test_Get_Status(record_no, &status) != 0 ||
            SSD_OP_Test_Get_Progress(record_no, NULL, &percent) != 0 ||
            SSD_OP_Test_Get_Remain_Time(record_no, NULL, &seconds) != 0) {
            fprintf(stderr, "Record %d cannot be read now.\n", record_no);
            continue;
        }
        /* The script's figures are not checked, and do not fit together between two ratios. */
        if (!(percent >= shown_percent && percent <= 100)) percent = (float)shown_percent;
        if (status == shown_status && (int)percent == shown_percent) continue;
        printf("%3d %%  %s", (int)percent, word_for(status));
        if (seconds > 0) printf(", about %llu s left", seconds);
        printf("\n");
        shown_status = status;
        shown_percent = (int)percent;
    }
    return status;
}

static int make_report(const char *kind, int (*make)(int, char *, int), int record_no) {
    char path[PATH_MAX];
    if (make(record_no, path, sizeof path) != 0) {
        fprintf(stderr, "There is no %s report; the trace log says why.\n", kind);
        return -1;
    }
    printf("%s: %s\n", kind, path);
    return 0;
}

int main(int argc, char **argv) {
    static RAID_CONF group;
    if (setvbuf(stdout, NULL, _IOLBF, 0) != 0 || read_group(argc, argv, &group) != 0) {
        fprintf(stderr, "usage: evaluate RAID_LEVEL DRIVE_ID...\n");
        return 2;
    }
    const int record_no = start(&group);
    if (record_no <= 0) {
        fprintf(stderr, record_no == -13 ? "This level wants another number of drives.\n"
                                         : "Not started; the trace log says why.\n");
        return EXIT_FAILURE;
    }
    const int status = watch(record_no);
    /* A driver that was killed leaves its record running, and its storage. */
    if (status > SSD_OP_TEST_STATUS_STOPPED && status < SSD_OP_TEST_STATUS_COMPLETED &&
        NAS_SSD_OP_Test_Stop(&requester, 0, record_no, -1, 1, SSD_OP_STOP_FAILED) != 0)
        fprintf(stderr, "What record %d holds could not all be given back.\n", record_no);
    const int csv = make_report("CSV", SSD_OP_Test_Export_CSV, record_no);
    const int xlsx = make_report("XLSX", SSD_OP_Test_Export_XLSX, record_no);
    return status == SSD_OP_TEST_STATUS_COMPLETED && csv == 0 && xlsx == 0 ? 0 : EXIT_FAILURE;
}
