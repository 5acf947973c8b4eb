// The shared trivial answers of VxAssociation.
#include "containers/vxassoci.h"

VxAssociation::~VxAssociation() = default;

int VxAssociation::isEqualCi(const VxAssociation*) const { return 0; }

int VxAssociation::isEqual(const VxSubString*) const { return 0; }

int VxAssociation::isEqualCi(const VxSubString*) const { return 0; }

int VxAssociation::isEqual(VXSIZE_T) const { return 0; }

VXSIZE_T VxAssociation::getIntKey() const { return 0; }

VXSIZE_T VxAssociation::getIntData() const { return 0; }

VxSubString* VxAssociation::getSubKey() const { return nullptr; }

VxObject* VxAssociation::getPtrData() const { return nullptr; }

VXSIZE_T VxAssociation::changeData(VXSIZE_T) { return 0; }

VxObject* VxAssociation::changeData(VxObject*) { return nullptr; }
