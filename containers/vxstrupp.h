// VxSubStringUpper: compares many candidate texts against one view without
// upper-casing the view again for each of them.
//
// It refers to a VxSubString it does not own (which must outlive it) and
// caches the upper-case form of views up to 16 bytes long. Candidates are
// expected in upper case. Nothing allocates; nothing fails.
// Thread-safety: none; one thread at a time.
#ifndef VX_CONTAINERS_VXSTRUPP_H_
#define VX_CONTAINERS_VXSTRUPP_H_

#include <cstdint>

#include "containers/vxstring.h"
#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

class VX_EXPORT VxSubStringUpper : public VxObject {
 public:
  // Stands for view; candidates must be length bytes long to match.
  VxSubStringUpper(const VxSubString* view, VXSIZE_T length);

  // False when n differs from the length. On the first call an exact
  // byte match answers true at once; views above 16 bytes are compared
  // case-insensitively; otherwise the text must equal the view's
  // upper-case form byte for byte.
  bool isEqualUpper(const char* text, VXSIZE_T n);

 private:
  const VxSubString* view_;
  char upper_[16];
  VXSIZE_T length_;
  int32_t filled_;
};

#endif  // VX_CONTAINERS_VXSTRUPP_H_
