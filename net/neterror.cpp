// The transport's error records.
#include <errno.h>

#include <cstdio>

#include "foundation/msgtext_internal.h"
#include "net/neterror_internal.h"
#include "net/vxnet.h"

namespace {

constexpr const char* kNetworkState = "08S01";
// The native error of a failed open, whatever the system said.
constexpr int64_t kOpenFailureNative = 21;

// Static records (the dummy one when no list is installed) are shared and
// must stay unchanged.
VxError& withNetworkState(VxError& record) {
  if (!record.isStatic()) record.setInterfaceCode(kNetworkState);
  return record;
}

}  // namespace

VxError& addNetError(uint16_t number) { return withNetworkState(addError(number)); }

void addNetStatusError(int status, int native) {
  switch (status) {
    case VX_NET_FAILURE: {
      char number[24];
      snprintf(number, sizeof number, " %d", native);
      addNetError(kErrNetwork).appendText(number);
      break;
    }
    case VX_NET_TIMEOUT: addNetError(kErrNetTimeout); break;
    case VX_NET_CONNECTION_LOST: addNetError(kErrConnectionLost); break;
    case VX_NET_REFUSED: addNetError(kErrNetRefused); break;
    default: break;
  }
}

int statusOfSystemError(int err) {
  switch (err) {
    case ECONNRESET:
    case EPIPE:
    case EAGAIN:
      return VX_NET_CONNECTION_LOST;
    case ETIMEDOUT:
    case ETIME:
      return VX_NET_TIMEOUT;
    default:
      return VX_NET_FAILURE;
  }
}

void addOpenFailure(const char* detail) {
  char text[512];
  loadMessageText(kErrCannotConnect, text, sizeof text);
  VxError& record = withNetworkState(
      addDatabaseError(kErrCannotConnect, kOpenFailureNative, text, VX_ERROR_TYPE_ERROR, VX_CP_LOCALE));
  if (detail != nullptr && *detail != '\0') {
    record.appendText(" ");
    record.appendText(detail);
  }
}
