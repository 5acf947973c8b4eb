// VxIntPtrKey: an association of an unsigned 64-bit key with an object.
//
// The datum is held by pointer. The association's destructor leaves it
// alone; deleteKeyAndData() destroys it. Its hash is the key itself.
//
// Deliberately there is no changeData for this form: the inherited default
// ignores its argument, so the datum of an integer-keyed object
// association cannot be replaced in place.
//
// Thread-safety: none. Failure: no operation fails.
#ifndef VX_CONTAINERS_VXINTPTR_H_
#define VX_CONTAINERS_VXINTPTR_H_

#include "containers/vxassoci.h"

class VX_EXPORT VxIntPtrKey : public VxAssociation {
 public:
  VxIntPtrKey(VXSIZE_T key, VxObject* data) : key(key), data(data) {}
  ~VxIntPtrKey() override;

  using VxAssociation::isEqual;

  // Asks the other association whether its integer key equals this key.
  int isEqual(const VxAssociation* other) const override;
  int isEqual(VXSIZE_T otherKey) const override;
  VXSIZE_T getIntKey() const override;
  VxObject* getPtrData() const override;
  VXSIZE_T hash() const override;
  // Destroys the datum (when non-null) and forgets it.
  void deleteKeyAndData() override;

 private:
  VXSIZE_T key;
  VxObject* data;
};

#endif  // VX_CONTAINERS_VXINTPTR_H_
