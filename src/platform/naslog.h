/*
 * The appliance's log library (libTavrel_naslog.so.2): traces, the event log, notifications and the
 * table of message texts.
 */
#ifndef PLATFORM_NASLOG_H
#define PLATFORM_NASLOG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { /* levels of SM_TRACE */
       SM_TRACE_ERROR = 1,
       SM_TRACE_ENTRY = 4,
       SM_TRACE_INFO = 8
};

/**
 * Append one line to the trace log. A line end at the text's end is dropped, one inside it shows as
 * "\n"; errno is left alone.
 */
void SM_TRACE(int level, const char *format, ...) __attribute__((format(printf, 2, 3)));

enum { /* types of an event */
       NASLOG_INFORMATION = 0,
       NASLOG_WARNING = 1,
       NASLOG_ERROR = 2
};

typedef struct NASLOG_EVENT {
    int type;
    char date[16]; /* empty: now */
    char time[16];
    char user[65];
    char address[65];
    char computer[65];
    char application[65];
    char category[65];
    char description[2049];
} NASLOG_EVENT;

/** Date and time are local, "YYYY-MM-DD" and "HH:MM:SS"; 0 on success. */
int naslog_event_add(const NASLOG_EVENT *event);
/** The newest events, newest first, up to max; returns how many. */
int naslog_event_query(NASLOG_EVENT *events, int max);

/** One entry of the table of message texts. */
typedef struct NASLOG_MESSAGE {
    int64_t application_id;
    int level; /* 1 error, 2 warning, 4 information */
    int64_t category_id;
    int64_t message_id;
    const char *text; /* placeholders {0}, {1}, ...; NULL: no text */
} NASLOG_MESSAGE;

#define A255_LIST_SIZE 19 /* entries 0 to 18 */

extern const NASLOG_MESSAGE A255_list[A255_LIST_SIZE];

/**
 * Send a notification made from a table entry; the strings that fill it follow, then NULL. A string
 * "%V001%" stands for the text of entry 1, and so on. 0 on success.
 */
int naslog_notice_send(int64_t application_id, int level, int channel, int64_t category_id,
                       int64_t message_id, int reserved_1, int reserved_2, int reserved_3,
                       const char *text, ...) __attribute__((sentinel));

/** Severity of a notice, as syslog counts: 3 error, 4 warning, 6 information. */
int ChangeLogTypeToNoticeSeverity(int event_type);

/** Give the log engine a notice under its message id, for example "MSG_SFT_001"; 0 on success. */
int SendNoticeToLogEngine(int severity, int reserved_1, int reserved_2, const char *reserved_text_1,
                          int facility, const char *title, int notice_no, int reserved_3,
                          int reserved_4, const char *user, const char *address,
                          const char *reserved_text_2, const char *message_id, int reserved_5,
                          const char *reserved_text_3, const char *message);

#ifdef __cplusplus
}
#endif

#endif
