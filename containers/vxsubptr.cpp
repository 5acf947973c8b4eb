// The string-to-object association.
#include "containers/vxsubptr.h"

#include "containers/vxstring.h"

VxSubPtrKey::~VxSubPtrKey() = default;

int VxSubPtrKey::isEqual(const VxAssociation* other) const { return other->isEqual(key); }

int VxSubPtrKey::isEqualCi(const VxAssociation* other) const { return other->isEqualCi(key); }

int VxSubPtrKey::isEqual(const VxSubString* otherKey) const {
  if (key == nullptr || otherKey == nullptr) return key == otherKey;
  return key->isEqual(*otherKey) ? 1 : 0;
}

int VxSubPtrKey::isEqualCi(const VxSubString* otherKey) const {
  if (key == nullptr || otherKey == nullptr) return key == otherKey;
  return key->isEqualCi(*otherKey) ? 1 : 0;
}

VxSubString* VxSubPtrKey::getSubKey() const { return key; }

VxObject* VxSubPtrKey::getPtrData() const { return data; }

VxObject* VxSubPtrKey::changeData(VxObject* newData) {
  data = newData;
  return data;
}

VXSIZE_T VxSubPtrKey::hash() const { return key == nullptr ? 0 : key->hash(); }

void VxSubPtrKey::deleteKeyAndData() {
  delete key;
  key = nullptr;
  delete data;
  data = nullptr;
}
