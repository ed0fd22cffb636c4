/**
 * @file
 * The appliance's storage library (libTavrel_Storage.so): RAID groups, storage pools, logical
 * volumes, mounted volumes and the file services.
 *
 * Unless a call says otherwise it returns 0 on success and a negative value on failure. Calls
 * serialise themselves against each other. A drive id is enclosure << 16 | port.
 */
#ifndef PLATFORM_STORAGE_H
#define PLATFORM_STORAGE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- RAID groups ---- */

/**
 * @defgroup platform The platform's part of a request
 * From ssd_op/platform/storage.h. An appliance has its own header, with more in it.
 * @{
 */

#define RAID_MAX_DRIVES 3072 /**< room for ids in each of a group's two lists */

#define RAID_FLAG_ID_RESERVED 1u /**< RAID_CONF.flags bit 0: raid_id is reserved already */

/** RAID_CONF.raid_level, beside the plain levels 0, 1, 5, 6 and 10. */
enum { RAID_LEVEL_JBOD = -2 /**< drives one behind the other */ };

/** A RAID group to create. */
typedef struct RAID_CONF {
    int raid_id;                               /**< number of the group */
    int raid_level;                            /**< 0, 1, 5, 6, 10 or RAID_LEVEL_JBOD */
    int drive_num;                             /**< member drives in drive_ids */
    uint32_t drive_ids[RAID_MAX_DRIVES];       /**< their drive ids */
    int spare_drive_num;                       /**< spare drives in spare_drive_ids */
    uint32_t spare_drive_ids[RAID_MAX_DRIVES]; /**< their drive ids */
    uint32_t flags;                            /**< RAID_FLAG_... */
    struct RAID_CONF *next;                    /**< next group of the request, or NULL */
} RAID_CONF;

/** @} */

/** @cond What the library calls, and its callers do not. */

typedef struct RAID_INFO {
    int raid_id;
    int raid_level;
    int drive_num;
    uint64_t capacity_kib; /* usable capacity of the group */
} RAID_INFO;

int RAID_ID_Is_Reserved(int raid_id); /* non-zero: the platform keeps this id for itself */

/* A group is configured from the moment its id is set in the bitmap of /etc/config/raid.conf until
   it is removed: with its pool, or by RAID_Remove_Conf. The bit stays. */
int RAID_Is_Exist(int raid_id);    /* non-zero: the group or its configuration exists */
int RAID_Remove_Conf(int raid_id); /* fails for a group that is still in a pool */
int RAID_Get_Info(int raid_id, int flags, RAID_INFO *info);
int RAID_Get_Conf(int raid_id, RAID_CONF *conf);
int RAID_Get_Id_By_Drive(
    unsigned dev_id); /* group that has the drive as member or spare; -1: none */

/* While anything is registered, background rebuilds slow down. A registration is a text. */
int RAID_Force_Speed_Down_Generate_UID(int pid, char *uid, int size);
int RAID_Force_Speed_Down_Add(const char *uid);
int RAID_Force_Speed_Down_Remove(const char *uid);

/* ---- Disks ---- */

/* The layout of this firmware; anything else wants an initialisation. */
#define DISK_META_CURRENT 7

int NAS_Disk_Check_Meta_Type(unsigned dev_id); /* the drive's layout; negative: no such drive */
/** Lay a drive out anew that is in no group; meta_type is the layout that it has. */
int NAS_Disk_Fast_Init(unsigned dev_id, int meta_type);

/* ---- Storage pools ---- */

#define POOL_KIND_CACHE 3 /* kind for Pool_Get_Next_Available_Id: a pool for temporary use */

typedef struct POOL_CREATE_OPTIONS {
    int alignment; /* 0: the platform's choice */
    int owner;     /* -1: nobody */
    int reserved[6];
} POOL_CREATE_OPTIONS;

typedef struct POOL_MEMBER {
    int raid_id;
    int striped; /* non-zero: the pool stripes over this member and others */
} POOL_MEMBER;

int Pool_Get_Next_Available_Id(int flags, int kind); /* an id; negative: none */
int Pool_Get_Id_By_Member_Id(int raid_id);           /* pool that holds the group; -1: none */
int Pool_Get_Member_Count(int pool_id);
int Pool_Get_Dev_Member(int pool_id, int index, POOL_MEMBER *member);
/** Ids of up to max volumes of the pool; returns how many. */
int Pool_Enumerate_LV(int pool_id, int *lv_ids, int max, int flags, int kind);
/** Round a volume size, in sectors of 512 bytes, down to what the pool can create: a multiple of
    4 MiB, at least one. */
int Pool_Calc_LV_Small_Create_Size(int pool_id, uint64_t *sectors);

/**
 * Make the groups of the list and a pool over them, striped when there are several; a drive without
 * partitions gets them. Nothing is made when one group cannot be: a level that does not go with its
 * number of members, an id that is taken or reserved, a drive that is missing, in a group, or
 * listed twice. Returns the pool's id or a negative value.
 */
int NAS_Pool_Create(RAID_CONF *groups, int flags, int kind, const POOL_CREATE_OPTIONS *options,
                    void *context);
/** Remove a pool and the groups under it; fails while it has volumes. */
int NAS_Pool_Remove(int pool_id, int flags, int kind);
/* Mark a pool: /tmp/cv_initializing.tmp and /tmp/cv_removing.tmp hold its id. */
int nas_set_initializing_cv_pool(int pool_id);
int nas_set_removing_cv_pool(int pool_id);

/* ---- Logical volumes; sizes in sectors of 512 bytes ---- */

#define LV_TYPE_TEST 1073741825ull /* bits 30 and 0: a temporary volume, ids 1568 to 1599 */
#define LV_MODE_STRIPED 2          /* over several groups */

typedef struct LV_CREATE_REQUEST {
    int pool_id;
    int lv_id;
    int mode;         /* 0, or LV_MODE_STRIPED */
    uint64_t type;    /* LV_TYPE_... */
    uint64_t sectors; /* 0: all that the pool has free */
} LV_CREATE_REQUEST;

int LV_Get_Next_Available_Id(int flags, uint64_t type); /* an id; negative: none */
int LV_Create(LV_CREATE_REQUEST *request, int flags, int kind);
int LV_Destroy(int lv_id);                        /* fails while a program has the volume open */
int LV_Resize(int lv_id, uint64_t sectors);       /* not to 0, nor beyond what the pool has free */
int LV_Is_Exist(int lv_id);                       /* non-zero: it exists */
int LV_Get_Id(const char *name);                  /* negative: no such volume */
int LV_Get_Name(int lv_id, char *name, int size); /* for example /dev/mapper/lv1568 */
int LV_Get_Pool_Id(int lv_id);                    /* negative: no pool */
int LV_Get_Size(int lv_id, uint64_t *sectors);

/* ---- Volumes and services ---- */

int Check_Default_Share_in_All_Vol(int flags);            /* id of the volume; 0 or below: none */
int Volume_Is_Mount(int volume_id, char *path, int size); /* above 0: mounted, at path */
int Start_Services(void); /* services.sh and rsyncd.sh; returns when both have started */

/** @endcond */

#ifdef __cplusplus
}
#endif

#endif
