// VxIntIntKey: an association of an unsigned 64-bit key with an unsigned
// 64-bit datum.
//
// Owns nothing: deleteKeyAndData() does nothing. Its hash is the key
// itself. Thread-safety: none. Failure: no operation fails.
#ifndef VX_CONTAINERS_VXINTINT_H_
#define VX_CONTAINERS_VXINTINT_H_

#include "containers/vxassoci.h"

class VX_EXPORT VxIntIntKey : public VxAssociation {
 public:
  VxIntIntKey(VXSIZE_T key, VXSIZE_T data) : key(key), data(data) {}
  ~VxIntIntKey() override;

  using VxAssociation::changeData;
  using VxAssociation::isEqual;

  // Asks the other association whether its integer key equals this key.
  int isEqual(const VxAssociation* other) const override;
  int isEqual(VXSIZE_T otherKey) const override;
  VXSIZE_T getIntKey() const override;
  VXSIZE_T getIntData() const override;
  // Stores the new datum and returns it.
  VXSIZE_T changeData(VXSIZE_T newData) override;
  VXSIZE_T hash() const override;
  // Nothing to destroy.
  void deleteKeyAndData() override;

 private:
  VXSIZE_T key;
  VXSIZE_T data;
};

#endif  // VX_CONTAINERS_VXINTINT_H_
