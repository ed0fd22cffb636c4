/*
 * The appliance's configuration library (libTavrel_ini.so): ini files, locks on them, bitmaps kept
 * in them, and which add-on packages are installed.
 *
 * Calls return 0 or a positive value on success and a negative value on failure. Writes replace the
 * file atomically and keep its mode; a file that does not exist is created by the first write, a
 * directory is not. No call takes a lock by itself: a caller that must not be disturbed takes the
 * file's lock first.
 *
 * Sections and keys are found without regard to case. A value is any text on one line: it comes
 * back byte for byte, blanks and quotes at its ends included. A value, key or section with a line
 * break is refused, and so is what would read as something else: a section with a ] in it, a key
 * with an equals sign in it or one of [ ; # at its start.
 */
#ifndef PLATFORM_INI_H
#define PLATFORM_INI_H

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Lock a name, usually a file's path, against every other process, waiting as long as it takes.
 * Any number of readers or one writer. Re-entrant within a process, which may also take for writing
 * what it holds for reading; released when the holder dies; a forked child does not hold what its
 * parent holds, and the parent's handles mean nothing in it.
 *
 * @return a handle for Ini_Conf_Unlock_File, 0 or above; -1 when the lock cannot be taken, for
 *         example because two readers that both want to write would wait for each other
 */
int Ini_Conf_Read_Lock_File(const char *name);
int Ini_Conf_Write_Lock_File(const char *name);
int Ini_Conf_Unlock_File(int handle); /* an invalid handle is refused with -1 */

/** Length of the text, cut to the buffer; -1 when file, section or key is absent. */
int Ini_Conf_Get_Field(const char *file, const char *section, const char *key, char *buffer,
                       int size);
int Ini_Conf_Set_Field(const char *file, const char *section, const char *key, const char *value);
/**
 * A decimal number, with a sign or without. When the key is absent, or its text does not begin with
 * a number, *value stays as it is and the result is -1. flags is 0.
 */
int Ini_Conf_Get_Field_Int(const char *file, const char *section, const char *key, int *value,
                           int flags);
int Ini_Conf_Set_Field_Int(const char *file, const char *section, const char *key, int value,
                           int flags);
/** 0 also when there is no such section; -1 when the file does not exist or cannot be written. */
int Ini_Conf_Remove_Section(const char *file, const char *section);

/**
 * A bitmap is text: hexadecimal digits, four bits each, bit 0 the lowest bit of the first digit.
 * Bits beyond the text are free; 4096 bits at the most. The search includes start itself.
 *
 * An absent file or key is an empty bitmap. A character that is no digit counts as four taken bits.
 *
 * @param bit  receives the first free bit at or after start; untouched when there is none
 * @return 0; non-zero when no bit is free
 */
int Ini_Conf_Bitmap_Get_Next_Free_Bit(const char *file, const char *section, const char *key,
                                      int *bit, int start, int flags);
int Ini_Conf_Bitmap_Set_Bit(const char *file, const char *section, const char *key, int bit);

/** Copy a value, or the default when it is absent; returns the length copied. */
int GetPrivateProfileString(const char *section, const char *key, const char *fallback,
                            char *buffer, int size, const char *file);

int Is_BRIX_Installed(const char *name); /* non-zero: the add-on package is installed */

#ifdef __cplusplus
}
#endif

#endif
