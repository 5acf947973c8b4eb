// XPstTempData: an in-memory piece of a document, written out in pieces.
#include "xml/XPstTempData.h"

#include <cstring>

#include "bos/bosfile.h"
#include "foundation/vxerror.h"

namespace {

// The file layer refuses writes of 65536 bytes or more.
constexpr VXSIZE_T kWritePiece = 32768;

}  // namespace

uint16_t XPstTempData::reserve(VXSIZE_T n) {
  if (bytes_.isEnoughSpace(n + 1)) return 0;
  VXSIZE_T wanted = bytes_.getLength() + n + 1;
  VXSIZE_T doubled = 2 * bytes_.getCapacity();
  if (bytes_.resize(doubled > wanted ? doubled : wanted) == 0) return 0;
  addError(kErrOutOfMemory);
  return 1;
}

uint16_t XPstTempData::append(const char* data, VXSIZE_T n) {
  if (reserve(n) != 0) return 1;
  return uint16_t(bytes_.concat(data, n));
}

uint16_t XPstTempData::append(const char* text) { return append(text, strlen(text)); }

uint16_t XPstTempData::appendBlanks(VXSIZE_T count) {
  static const char kBlanks[] = "                                ";
  while (count > 0) {
    VXSIZE_T n = count < sizeof kBlanks - 1 ? count : sizeof kBlanks - 1;
    if (append(kBlanks, n) != 0) return 1;
    count -= n;
  }
  return 0;
}

uint16_t XPstTempData::writeTo(int handle) const {
  const char* data = getData();
  for (VXSIZE_T done = 0, length = getLength(); done < length;) {
    VXSIZE_T n = length - done < kWritePiece ? length - done : kWritePiece;
    if (bosFileWrite(handle, -1, data + done, n) != 0) return 1;
    done += n;
  }
  return 0;
}
