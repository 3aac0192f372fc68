#ifndef VL2ZIP_H
#define VL2ZIP_H

/* C interface of vl2zip, which adds to, updates and deletes from zip archives. Strings are
 * NUL-terminated, in the system's narrow code page (UTF-8 on POSIX, the ANSI code page on
 * Windows). */

#include <stdint.h>

#if defined(VL2ZIP_BUILD)
#define VL2ZIP_API VL2_EXPORT
#else
#define VL2ZIP_API VL2_IMPORT
#endif
#include "ziplib/vl2export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A message text of `size` bytes. Called with size 0 at least every 50 ms while a call works, so
 * that a program can keep its windows painted. */
typedef int32_t (*VL2ZIP_PRINT)(char *buffer, uint32_t size);
/* Prefix of a message text with the path of a file that was packed for the first time and is likely
 * a leftover of an editor or a system (a backup, a lock, thumbnails ...). Sent after the archive
 * was saved, unless fewer messages are requested. */
#define VL2ZIP_LEFTOVER "leftover: "
/* Fills `p` (of `n` bytes) with a password and returns 0, or returns non-zero for none. */
typedef int32_t (*VL2ZIP_PASSWORD)(char *p, int32_t n, char *m, char *name);
typedef char *(*VL2ZIP_COMMENT)(char *comment);
/* A file is done; `size` is the length of `name` with its NUL. Non-zero stops the call. */
typedef int32_t (*VL2ZIP_SERVICE)(char *name, uint32_t size);

typedef struct ZIPUSERFUNCTIONS {
    VL2ZIP_PRINT print;
    VL2ZIP_PASSWORD password;
    VL2ZIP_COMMENT comment;
    VL2ZIP_SERVICE ServiceApplication;
} ZIPUSERFUNCTIONS;

/* Options of the following archive operation. Flags are 0 or 1 unless stated otherwise. */
typedef struct ZPOPT {
    char *Date;             /* not used */
    char *szRootDir;        /* folder that the names are relative to; "" is the current folder */
    char *szTempDir;        /* not used: the new archive is always created beside the old one */
    int32_t fTemp;          /* not used */
    int32_t fSuffix;        /* not used */
    int32_t fEncrypt;       /* encrypt what is added, with the password callback's password */
    int32_t fSystem;        /* pack hidden and system files too */
    int32_t fVolume;        /* not used: no volume label is stored */
    int32_t fExtra;         /* not used */
    int32_t fNoDirEntries;  /* add no entries for folders */
    int32_t fExcludeDate;   /* not used */
    int32_t fIncludeDate;   /* not used */
    int32_t fVerbose;       /* more messages */
    int32_t fQuiet;         /* fewer messages */
    int32_t fCRLF_LF;       /* CR LF becomes LF in text files */
    int32_t fLF_CRLF;       /* LF becomes CR LF in text files */
    int32_t fJunkDir;       /* store file names without their folders */
    int32_t fGrow;          /* not used: an archive that exists is always added to */
    int32_t fForce;         /* not used */
    int32_t fMove;          /* not used */
    int32_t fDeleteEntries; /* delete the matching entries */
    int32_t fUpdate;        /* replace an entry only if the file is newer; add new files */
    int32_t fFreshen;       /* replace an entry only if the file is newer; add nothing */
    int32_t fJunkSFX;       /* not used */
    int32_t fLatestTime;    /* not used */
    int32_t fComment;       /* not used */
    int32_t fOffsets;       /* not used */
    int32_t fPrivilege;     /* not used */
    int32_t fEncryption;    /* not used */
    int32_t fRecurse;       /* 0 no; 2 match the names in every folder below the root */
    int32_t fRepair;        /* not used */
    int32_t fLevel;         /* 0 is the default level, and the only one */
} ZPOPT;

typedef struct ZCL {
    int32_t argc;    /* number of names or patterns */
    char *lpszZipFN; /* the archive */
    char **FNV;      /* the names or patterns */
} ZCL;

/* A file of the folder that holds nothing that the archive lacks, in the version that was read. */
typedef struct ZPPACKED {
    const char *path; /* below szRootDir, "/" between the folders; UTF-8 on every system */
    uint64_t device;  /* device and id together name one file of the machine */
    uint64_t id;
    uint64_t size;
    int64_t modified; /* nanoseconds since 1970, UTC */
    int64_t changed;  /* the same, of the last change of the file or of its properties */
    int64_t began;    /* the same, the time of the disk before the file was read, or INT64_MIN if
                       * unknown. If `changed` is earlier, every later change sets another
                       * `changed`; otherwise a change may not be detectable. */
    uint32_t crc;     /* CRC-32 of the file's bytes, after a conversion of line ends */
    int32_t outcome;  /* one of the following */
} ZPPACKED;
#define VL2ZIP_SAME 0     /* the archive held the file's bytes already */
#define VL2ZIP_CHANGED 1  /* the file replaced its entry */
#define VL2ZIP_ADDED 2    /* the file got a new entry */
#define VL2ZIP_RESTORED 3 /* the same, but the base holds an entry: it was removed meanwhile */
#define VL2ZIP_KEPT 4    /* the file is as in the base; its entry was changed meanwhile and stays */
#define VL2ZIP_REMOVED 5 /* the file is as in the base; its entry was removed and stays removed */
typedef void (*VL2ZIP_PACKED)(const ZPPACKED *file);

/* Registers the callbacks for the calls that follow; any may be null. They run on the caller's
 * thread. Returns 1. */
VL2ZIP_API int32_t ZpInit(ZIPUSERFUNCTIONS *lpZipUserFunctions);

/* Sets the options of the next operation. Returns 1. */
VL2ZIP_API int32_t ZpSetOptions(ZPOPT *lpZpOpt);

/* Bytes that an archive holds or held. */
typedef struct ZPVERSION {
    const char *path; /* "/" between the folders; UTF-8 on every system */
    uint64_t size;    /* UINT64_MAX in a base: unknown */
    uint32_t crc;
    int32_t written; /* in a base: whether a file was written for the entry, one of the following.
                      * On a disk that ignores letter case, there is one file for entries that
                      * differ in case only. */
    /* In a base: whether the file that was written has `size` bytes, and every later change of it
     * shows in its size or one of the fields below, also after a power cut. */
    int32_t timesTell;
    uint64_t device; /* of the written file if timesTell is set, as in ZPPACKED */
    uint64_t id;
    int64_t modified;
    int64_t changed;
} ZPVERSION;
#define VL2ZIP_LISTED 0    /* no file was written */
#define VL2ZIP_EXTRACTED 1 /* the entry was extracted */
#define VL2ZIP_EDITED                                                                              \
    2 /* the file is the user's, and an earlier call has packed it: if the                         \
       * archive no longer holds it, it counts as changed */
#define VL2ZIP_KNOWN                                                                               \
    3 /* not the base, but a later version of the entry, of which the user has                     \
       * been told: a file that is not as in the base is packed over it */
typedef void (*VL2ZIP_CONFLICT)(const ZPVERSION *entry);

/* Registers a callback for the calls that follow, or none. At the end of each ZpArchive that adds
 * and returns 0, 1 or 12, it is called once for each file that the archive makes superfluous. It is
 * for programs that delete packed files and must not delete later versions. The record is valid
 * during the callback only. Returns 1. */
VL2ZIP_API int32_t ZpReportPacked(VL2ZIP_PACKED lpPacked);

/* Sets the base of the calls that follow: what the archive held when the files of the folder were
 * extracted from it, `count` entries; or none, by a null pointer. The entries are copied. With a
 * base, ZpArchive merges what was changed since then in the folder and in the archive. A file that
 * is as in the base is not packed: its entry stays as it is, or removed. A file whose entry is as
 * in the base is packed if it differs; it is not read if `timesTell` is set, its information is as
 * in the base, and its disk sets `changed` at every write, from a clock with small steps. If a file
 * and its entry both differ from the base, and from each other, nothing is packed and the result is
 * 83; `lpConflict`, which may be null, is called for the entry of each such file. Without a base,
 * every file that differs from its entry is packed. Returns 1, or 0 if memory is exhausted: then
 * there is no base. */
VL2ZIP_API int32_t ZpSetBase(const ZPVERSION *lpBase, uint32_t count, VL2ZIP_CONFLICT lpConflict);

/* Adds `count` entries to the base that ZpSetBase has set, so that it can be set in steps, without
 * an array of all. Of entries with the same path the last one counts. Returns 1, or 0 if memory is
 * exhausted or no base is set: then there is no base. */
VL2ZIP_API int32_t ZpAddToBase(const ZPVERSION *lpBase, uint32_t count);

/* Adds the matching files to the archive, replacing entries of the same path and keeping the
 * others, or deletes the matching entries (without its last entry an empty archive remains). The
 * archive is replaced atomically: its name refers to the old or the new archive at any time. If
 * all files are in the archive already, it is not written and the result is 0. A message names each
 * file that is left out, and the result is 1, except for new hidden files while fSystem is 0.
 * Entries for folders are added for the folders that match and for those of the files that match.
 * After a failure the last message contains file and reason. Returns
 *   0 done, 1 done but something was skipped, 2 damaged structure, 3 severe damage, 9 no such
 *   archive, 11 nothing matched, 12 nothing to do, 14 cannot write, 15 cannot create, 18 cannot
 *   open a file, 50 disk full, 51 the archive ends early, 80 cancelled, 82 no password,
 *   83 changed in the folder and in the archive.
 * 11 is also returned if all matching files are new and left out. 12 is returned for updates by
 * time if every file with an entry is the same as the entry; a file that differs and is not newer
 * is left out. With any code but 0 and 1 the archive is unchanged, with one exception: 14 with a
 * message that the archive is saved but its folder cannot be flushed. */
VL2ZIP_API int32_t ZpArchive(ZCL C);

#ifdef __cplusplus
}
#endif

#endif
