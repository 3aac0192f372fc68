#ifndef VL2UZIP_H
#define VL2UZIP_H

/* C interface of vl2uzip, which lists and extracts zip archives. Strings are NUL-terminated, in
 * the system's narrow code page (UTF-8 on POSIX, the ANSI code page on Windows). */

#include <stdint.h>

#if defined(VL2UZIP_BUILD)
#define VL2UZIP_API VL2_EXPORT
#else
#define VL2UZIP_API VL2_IMPORT
#endif
#include "ziplib/vl2export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Options of one call. Flags are 0 or 1 unless noted. */
typedef struct DCL {
    int32_t ExtractOnlyNewer;  /* extract a file only if the one on disk is older or missing */
    int32_t SpaceToUnderscore; /* blanks in names become underscores on disk */
    int32_t PromptToOverwrite; /* not used: without noflag the replace callback is always asked */
    int32_t fQuiet;            /* messages: 0 all, 1 fewer, 2 none */
    int32_t ncflag;            /* not used */
    int32_t ntflag;            /* test the entries, write nothing */
    int32_t nvflag;            /* list the entries, extract nothing */
    int32_t nfflag;            /* not used */
    int32_t nzflag;            /* not used */
    int32_t ndflag;            /* recreate the stored folders */
    int32_t noflag;            /* replace existing files without asking */
    int32_t naflag;            /* convert line ends of text entries to the system's own */
    int32_t nZIflag;           /* not used */
    int32_t C_flag;            /* match the given names without regard to case */
    int32_t fPrivilege;        /* not used */
    char *lpszZipFN;           /* the archive */
    char *lpszExtractDir;      /* where to extract to; "" is the current folder */
} DCL;

/* A message text of `size` bytes. Called with size 0 at least every 50 ms while a call works, so
 * that a program can keep its windows painted. */
typedef int32_t (*VL2UZIP_PRINT)(char *buffer, uint32_t size);
typedef void (*VL2UZIP_SOUND)(void);
/* A file exists: 100 keep it, 102 replace it, 103 replace all, 104 replace none. */
typedef int32_t (*VL2UZIP_REPLACE)(char *filename);
/* Fills `p` (of `n` bytes) with a password and returns 0, or returns non-zero for none. */
typedef int32_t (*VL2UZIP_PASSWORD)(char *p, int32_t n, char *m, char *name);
/* One listed entry: sizes in bytes (those of 4 GiB and more are given as 4 GiB - 1), factor in
 * percent saved, date, `c` '+' where the sizes did not fit, path with "/" separators, method name,
 * CRC-32, 'E' for encrypted or ' '. */
typedef void (*VL2UZIP_ENTRY)(uint32_t ucsize, uint32_t csiz, int32_t cfactor, int32_t mo,
                              int32_t dy, int32_t yr, int32_t hh, int32_t mm, char c,
                              char *filename, char *methbuf, uint32_t crc, char fCrypt);
/* An entry is done; `size` is the length of `name` with its NUL. Non-zero stops the call. */
typedef int32_t (*VL2UZIP_SERVICE)(char *name, uint32_t size);

typedef struct USERFUNCTIONS {
    VL2UZIP_PRINT print;
    VL2UZIP_SOUND sound;
    VL2UZIP_REPLACE replace;
    VL2UZIP_PASSWORD password;
    VL2UZIP_ENTRY SendApplicationMessage;
    VL2UZIP_SERVICE ServCallBk;
    /* Left by the call: totals over the entries, in bytes and percent, and the length of the
     * archive's comment. Totals that do not fit are given as the largest value. */
    int32_t TotalSizeComp;
    int32_t TotalSize;
    int32_t CompFactor;
    int32_t NumMembers;
    int16_t cchComment;
} USERFUNCTIONS;

typedef struct UzpVersionGroup {
    uint8_t major;
    uint8_t minor;
    uint8_t patchlevel;
    uint8_t not_used;
} UzpVersionGroup;

typedef struct UzpVer2 {
    uint32_t structlen; /* set by the caller to 64 */
    uint32_t flag;
    char betalevel[10];
    char date[20];
    char zlib_version[10];
    UzpVersionGroup unzip;
    UzpVersionGroup zipinfo;
    UzpVersionGroup os2dll;
    UzpVersionGroup windll;
} UzpVer2;

/* An entry of an extraction, and the file that was written for it. */
typedef struct UZPEXTRACTED {
    const char *path; /* of the entry, "/" between the folders; UTF-8 on every system */
    uint64_t size;    /* of the entry's bytes */
    uint32_t crc;
    uint32_t time;   /* the entry's DOS date and time, the date in the upper half */
    int32_t written; /* 1 if the call wrote the file, 2 if it has moreover none of the attributes
                      * read-only, hidden, system and archive; else 0: then the rest is 0 */
    uint64_t device; /* device and id together name one file of the machine */
    uint64_t id;
    uint64_t fileSize;
    int64_t modified; /* nanoseconds since 1970, UTC */
    int64_t changed;  /* the same, of the last change of the file or of its properties */
} UZPEXTRACTED;
typedef void (*VL2UZIP_EXTRACTED)(const UZPEXTRACTED *entry);

/* Registers a callback for the extractions that follow in this process, or none. It is called once
 * for each entry that an extraction should write, in archive order, also for those that it did not
 * write; not for folders. It is for programs that must recognize the extracted versions later. The
 * record is valid during the callback only. Returns 1. */
VL2UZIP_API int32_t UzpReportExtracted(VL2UZIP_EXTRACTED lpExtracted);

/* Lists (nvflag), tests (ntflag) or extracts entries of an archive: the `ifnc` names of `ifnv`, all
 * if it is 0, except the `xfnc` names of `xfnv`. Names are paths inside the archive and may
 * hold the wildcards * and ?. Every callback runs on the caller's thread, in archive order; any of
 * them may be null. Returns
 *   0 done, 1 done but something was skipped, 2 damaged structure, 3 severe damage, 9 no such
 *   archive, 11 nothing matched, 50 disk full, 51 the archive ends early, 80 cancelled,
 *   81 an unsupported method or encryption, 82 wrong or missing password. */
VL2UZIP_API int32_t Wiz_SingleEntryUnzip(int32_t ifnc, char **ifnv, int32_t xfnc, char **xfnv,
                                         DCL *lpDCL, USERFUNCTIONS *lpUserFunctions);

/* Number of entries that the last call of this thread should have extracted, tested or listed and
 * that are missing or incomplete: skipped, damaged, not reached before the call ended, or a name
 * that is not in the archive. A file that was kept on request is not counted. At least 1 if the
 * archive cannot be read or is truncated. 0 with a return code other than 0 means a warning while
 * every entry is there. */
VL2UZIP_API int32_t UzpMissingCount(void);

/* Fills the version record. */
VL2UZIP_API void UzpVersion2(UzpVer2 *lpVersion);

#ifdef __cplusplus
}
#endif

#endif
