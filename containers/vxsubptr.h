// VxSubPtrKey: an association of a string key with an object.
//
// Both the key (a VxSubString, usually a heap VxString) and the datum are
// held by pointer. The association's destructor leaves them alone;
// deleteKeyAndData() destroys the key, then the datum. Its hash is the key
// string's hash: the upper-cased first five bytes summed, so keys that
// differ only in case, or only after their fifth byte, hash alike.
//
// A null key is allowed: it hashes to 0 and equals only a null key.
//
// Thread-safety: none. Failure: no operation fails.
#ifndef VX_CONTAINERS_VXSUBPTR_H_
#define VX_CONTAINERS_VXSUBPTR_H_

#include "containers/vxassoci.h"

class VX_EXPORT VxSubPtrKey : public VxAssociation {
 public:
  VxSubPtrKey(VxSubString* key, VxObject* data) : key(key), data(data) {}
  ~VxSubPtrKey() override;

  using VxAssociation::changeData;
  using VxAssociation::isEqual;
  using VxAssociation::isEqualCi;

  // Asks the other association whether its string key equals this key.
  int isEqual(const VxAssociation* other) const override;
  // The same, without regard to case.
  int isEqualCi(const VxAssociation* other) const override;
  // Same length and same bytes.
  int isEqual(const VxSubString* otherKey) const override;
  // Equal under the library's case-insensitive string comparison.
  int isEqualCi(const VxSubString* otherKey) const override;
  VxSubString* getSubKey() const override;
  VxObject* getPtrData() const override;
  // Stores the new datum (the old one is not destroyed) and returns it.
  VxObject* changeData(VxObject* newData) override;
  VXSIZE_T hash() const override;
  // Destroys the key string, then the datum (each when non-null), and
  // forgets both.
  void deleteKeyAndData() override;

 private:
  VxSubString* key;
  VxObject* data;
};

#endif  // VX_CONTAINERS_VXSUBPTR_H_
