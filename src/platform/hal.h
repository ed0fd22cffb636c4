/*
 * The appliance's hardware library (libTavrel_hal.so): identity of the appliance, physical drives,
 * their partitions, their SMART data, drive measurements, and the one call that runs commands.
 *
 * A drive is named by its enclosure and port, enclosure first. Unless a call says otherwise it
 * returns 0 on success and a negative value on failure, texts are NUL-terminated and cut to the
 * buffer's size, and buffers belong to the caller.
 */
#ifndef PLATFORM_HAL_H
#define PLATFORM_HAL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Commands ---- */

/**
 * Run a shell command line with /bin/sh and wait for it, whatever the caller does with SIGCHLD.
 *
 * @param output  NULL: the command prints where the caller prints. Otherwise it receives the first
 *                size - 1 bytes of standard output, without the last line end; the call then also
 *                waits for whoever the command left behind with that output still open
 * @param size    size of output in bytes
 * @return 0 when the command's exit status was 0, otherwise its exit status, or -1 when it could
 *         not be run or was ended by a signal
 */
int Get_Command_Result(const char *command, char *output, int size);

/* ---- Identity of the appliance ---- */

int Get_Display_Model_Name(char *buffer, int size);
int Get_System_Version(char *buffer, int size); /* for example 5.1.0 */
int Get_System_Number(char *buffer, int size);  /* for example 2348 */
int Get_Build_Number(char *buffer, int size);   /* for example 20240110 */

#define SYSTEM_RESOURCE_MEMORY 4 /* kind for Get_System_Resource: memory totals */

typedef struct SYSTEM_RESOURCE {
    int total_memory_kb;
    int free_memory_kb;
} SYSTEM_RESOURCE;

int Get_System_Resource(SYSTEM_RESOURCE *info, int kind);

int HAL_MB_Get_CPU_Info(char *buffer, int size);
int SE_Get_Serial_No(int enclosure, char *buffer, int size);

typedef struct HAL_MEM_INFO {
    int present;   /* 1: a module is in the slot */
    int channel;   /* from 1 */
    int slot;      /* from 1 */
    int size_mb;   /* size of the module in MiB */
    char type[32]; /* for example DDR4 */
} HAL_MEM_INFO;

int HAL_MB_Mem_Is_Info_Available(void); /* non-zero: slots can be asked */
int HAL_MB_Mem_Get_Slots(void);         /* number of memory slots */
int HAL_MB_Mem_Get_Info(int slot, HAL_MEM_INFO *info);

/* ---- Physical drives ---- */

#define PD_FLAG_SSD 8u /* PD_INFO.flags bit 3: a solid-state drive, which takes discards */

enum { /* PD_INFO.form_factor */
       PD_FORM_2_5_INCH = 0,
       PD_FORM_M2_SATA = 6,
       PD_FORM_M2_PCIE = 7,
       PD_FORM_MSATA = 8,
       PD_FORM_PCIE = 9
};

enum { /* PD_INFO.interface_type */
       PD_INTERFACE_SATA = 0,
       PD_INTERFACE_SAS = 1,
       PD_INTERFACE_NVME = 4,
       PD_INTERFACE_VJBOD = 5,
       PD_INTERFACE_VIRTIO = 6,
       PD_INTERFACE_VIRTIO_SCSI = 7
};

typedef struct PD_INFO {
    char vendor[64];
    char model[64];
    char serial_no[128];
    char revision[32];    /* firmware revision */
    uint32_t block_size;  /* bytes in a block */
    uint64_t block_count; /* blocks the drive offers */
    int form_factor;
    int interface_type;
    int rotation_speed; /* turns a minute, 0 for a solid-state drive */
    uint32_t flags;     /* PD_FLAG_... */
} PD_INFO;

/** Ids (enclosure << 16 | port) of up to max present drives, ascending; returns how many. */
int PD_Enumerate(unsigned *dev_ids, int max);

int PD_Is_Exist(int enclosure, int port); /* non-zero: a drive is in the slot */
int PD_Get_Info(int enclosure, int port, PD_INFO *info);
/** Capacity in bytes is *block_count times *block_size. */
int PD_Get_Capacity(int enclosure, int port, uint64_t *block_count, uint32_t *block_size);
int PD_Get_Sys_Name(int enclosure, int port, char *name, int size); /* for example /dev/sda */
int PD_Get_Log_Name(int enclosure, int port, char *name, int size); /* name of the slot */
int PD_Get_WWN(int enclosure, int port, char *buffer, int size);    /* up to 64 characters */

typedef struct PD_SMART_INFO {
    int temperature; /* degrees Celsius */
    int power_on_hours;
    int wear_percent;           /* share of the rated endurance used up */
    uint64_t host_written_kib;  /* written by the host since the drive was made */
    uint64_t flash_written_kib; /* written to the flash for it; their quotient is the drive's write
                                   amplification. A drive that does not count reports 0. */
} PD_SMART_INFO;

/** On success *info is a heap block that the caller frees; on failure it may be one too. */
int PD_SMART_Read_Info(int enclosure, int port, PD_SMART_INFO **info);
/** The drive's byte, 0 to 255: a signed one, so that 255 stands for -1 degree Celsius. */
int PD_SMART_Get_Temperature(const PD_SMART_INFO *info);

/* ---- Partitions; the data partition is number 3 ---- */

typedef struct PART_INFO {
    uint64_t size_kib;
    uint64_t start_kib; /* offset from the start of the drive */
} PART_INFO;

int Part_Is_Exist_V2(int enclosure, int port, int part_no); /* non-zero: it exists */
/** For example /dev/sda3; partition 0 stands for the whole drive. */
int Part_Get_Name(int enclosure, int port, int part_no, char *name, int size);
int Part_Get_Info(int enclosure, int port, int part_no, PART_INFO *info);

/* ---- Drive measurements ---- */

/**
 * Measure drives one after the other and keep the figure of each for the PD_Get_... calls below.
 *
 * @param part_nos    partition to measure on, for each drive; 0 for the whole drive
 * @param sequential  non-zero: throughput; zero: IOPS
 * @param background  non-zero: return at once
 *
 * A drive answers reads of what it does not hold without opening its flash. So reads are measured
 * on the first GiB of the drive, and where that holds nothing it is written first, unless the drive
 * is in a RAID group.
 *
 * The figures lie in /etc/enclosure_N.conf, section PhysicalDisk_PORT, and, by the drive's WWN, in
 * /etc/config/disk_performance.conf: keys read_speed, write_speed, read_iops, write_iops. A key
 * holds "testing" while its measurement runs and "fail" after one that failed.
 */
int Disk_Read_Performance_Test(const unsigned *dev_ids, int count, int sequential, int background);
int Disk_Write_Performance_Test(const unsigned *dev_ids, int count, const int *part_nos,
                                int sequential, int background);

/* The last figure; fails when there is none. */
int PD_Get_Read_Speed(int enclosure, int port, unsigned long long *value);  /* KiB a second */
int PD_Get_Write_Speed(int enclosure, int port, unsigned long long *value); /* bytes a second */
int PD_Get_Read_IOPS(int enclosure, int port, unsigned long long *value);
int PD_Get_Write_IOPS(int enclosure, int port, unsigned long long *value);

#ifdef __cplusplus
}
#endif

#endif
