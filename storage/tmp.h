// The temporary stores in one include: VxTmpFile and TmpSpace (paged
// scratch store that spills to disk) and MemFile (memory-only append
// stream).
#ifndef VX_STORAGE_TMP_H_
#define VX_STORAGE_TMP_H_

#include "storage/MemFile.h"
#include "storage/vxtmpfil.h"

#endif  // VX_STORAGE_TMP_H_
