// VxSubStringUpper: one view compared against many upper-case candidates.
#include "containers/vxstrupp.h"

#include "foundation/but.h"
#include "foundation/vxdbcs.h"

VxSubStringUpper::VxSubStringUpper(const VxSubString* view, VXSIZE_T length)
    : view_(view), upper_(), length_(length), filled_(0) {}

// The first call (cache empty) accepts an exact byte match at once. Views
// longer than the cache are compared case-insensitively every time. Other
// views are upper-cased into the cache once; from then on a candidate
// matches when it equals that upper-case form byte for byte.
bool VxSubStringUpper::isEqualUpper(const char* text, VXSIZE_T n) {
  if (n != length_) return false;
  if (!filled_) {
    if (n == 0 || memEqual(view_->asPascalStr(), text, n)) return true;
    if (n > sizeof upper_) return view_->isEqualCi(text, n);
    memCopy(upper_, view_->asPascalStr(), n);
    strUpper(upper_, n);
    filled_ = 1;
  }
  return memEqual(upper_, text, n);
}
