// Status values and protocol kinds shared by the transport classes.
#ifndef VX_NET_VXNET_H_
#define VX_NET_VXNET_H_

// What every transport operation returns. Each failure, when the transport
// reports errors, also files a record with SQLSTATE "08S01".
enum VxNetStatus : int {
  VX_NET_SUCCESS = 0,
  VX_NET_FAILURE = -1,           // network failure (error 7500 with the system number)
  VX_NET_TIMEOUT = -2,           // time-out (error 7501, none from the write path)
  VX_NET_SECOND_TIMEOUT = -3,    // a read that asked for the second time-out timed out
  VX_NET_CONNECTION_LOST = -13,  // connection lost or not open (error 7503)
  VX_NET_REFUSED = -233          // refused (error 7504)
};

// How a VxPipe reaches the network: 0 through the connection functions.
enum VxProtocolType : int { VX_PROTOCOL_NETLIB = 0 };

#endif  // VX_NET_VXNET_H_
