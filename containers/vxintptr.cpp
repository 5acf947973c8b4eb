// The integer-to-object association.
#include "containers/vxintptr.h"

VxIntPtrKey::~VxIntPtrKey() = default;

int VxIntPtrKey::isEqual(const VxAssociation* other) const { return other->isEqual(key); }

int VxIntPtrKey::isEqual(VXSIZE_T otherKey) const { return key == otherKey; }

VXSIZE_T VxIntPtrKey::getIntKey() const { return key; }

VxObject* VxIntPtrKey::getPtrData() const { return data; }

VXSIZE_T VxIntPtrKey::hash() const { return key; }

void VxIntPtrKey::deleteKeyAndData() {
  delete data;
  data = nullptr;
}
