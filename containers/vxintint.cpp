// The integer-to-integer association.
#include "containers/vxintint.h"

VxIntIntKey::~VxIntIntKey() = default;

int VxIntIntKey::isEqual(const VxAssociation* other) const { return other->isEqual(key); }

int VxIntIntKey::isEqual(VXSIZE_T otherKey) const { return key == otherKey; }

VXSIZE_T VxIntIntKey::getIntKey() const { return key; }

VXSIZE_T VxIntIntKey::getIntData() const { return data; }

VXSIZE_T VxIntIntKey::changeData(VXSIZE_T newData) {
  data = newData;
  return data;
}

VXSIZE_T VxIntIntKey::hash() const { return key; }

void VxIntIntKey::deleteKeyAndData() {}
