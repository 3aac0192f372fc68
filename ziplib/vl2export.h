#ifndef VL2EXPORT_H
#define VL2EXPORT_H

/* VL2_EXPORT and VL2_IMPORT come from the build, which knows the system. */
#ifndef VL2_EXPORT
#define VL2_EXPORT
#endif
#ifndef VL2_IMPORT
#define VL2_IMPORT
#endif

#endif
