// Splitting a connection address "host,port" into its parts; shared by the
// connection functions and the fuzz target that checks them.
#ifndef VX_NET_NTADDR_INTERNAL_H_
#define VX_NET_NTADDR_INTERNAL_H_

#include <cstddef>
#include <cstdint>

// The longest host part an address may have.
constexpr size_t kMaxHostLength = 4095;

struct ConnectionAddressParts {
  const char* host;   // points into the address text
  size_t hostLength;  // 1 to kMaxHostLength
  uint32_t port;      // decimal value of the port part
};

// Splits address at its first ",". False when there is no comma, the host
// part is empty or longer than kMaxHostLength, or the port part is empty.
// The port is the value of the leading decimal digits of the port part (0
// when there are none), kept modulo 2^32 like the unsigned field it fills;
// the socket uses its low 16 bits.
bool splitConnectionAddress(const char* address, ConnectionAddressParts* parts);

#endif  // VX_NET_NTADDR_INTERNAL_H_
