// The one macro that makes a declaration part of libvx.so's interface.
//
// The library is compiled with hidden visibility: nothing leaves the shared
// object unless it is marked VX_EXPORT. Classes are marked as a whole
// (class VX_EXPORT VxString), free functions one by one.
#ifndef VX_FOUNDATION_VXEXPORT_H_
#define VX_FOUNDATION_VXEXPORT_H_

#define VX_EXPORT __attribute__((visibility("default")))

#endif  // VX_FOUNDATION_VXEXPORT_H_
