// Key/datum lookups over the open-addressing table.
#include "containers/vxdictio.h"

#include "containers/vxintint.h"
#include "containers/vxintptr.h"
#include "containers/vxstring.h"
#include "containers/vxsubptr.h"

namespace {

VxAssociation* asAssoc(void* item) { return static_cast<VxAssociation*>(item); }

}  // namespace

VxDictionary::VxDictionary() : flags(0) {}

VxDictionary::~VxDictionary() {
  for (uint16_t i = tableSize; i-- > 0;) delete asAssoc(slots.at(i));
}

VXSIZE_T VxDictionary::doHash(void* item) { return asAssoc(item)->hash(); }

int VxDictionary::areEqual(void* stored, void* item) {
  if (flags & kCaseInsensitive) return asAssoc(stored)->isEqualCi(asAssoc(item));
  return asAssoc(stored)->isEqual(asAssoc(item));
}

unsigned VxDictionary::addCreated(VxAssociation* assoc) {
  if (assoc == nullptr) return 1;
  return add(assoc);
}

unsigned VxDictionary::addAssoc(VXSIZE_T key, VXSIZE_T data) { return addCreated(new VxIntIntKey(key, data)); }

unsigned VxDictionary::addAssoc(VXSIZE_T key, VxObject* data) { return addCreated(new VxIntPtrKey(key, data)); }

unsigned VxDictionary::addAssoc(VxSubString* key, VxObject* data) {
  return addCreated(new VxSubPtrKey(key, data));
}

// deliberate: integer lookups match by getIntKey(), so an integer key of 0
// also matches a string-keyed association, whose integer key reads as 0.
uint16_t VxDictionary::getIndexForKey(VXSIZE_T key) const {
  return probe(key, [key](void* stored) { return asAssoc(stored)->getIntKey() == key; });
}

uint16_t VxDictionary::getIndexForKey(const VxSubString* key) const {
  const bool ci = (flags & kCaseInsensitive) != 0;
  return probe(key->hash(), [key, ci](void* stored) {
    return (ci ? asAssoc(stored)->isEqualCi(key) : asAssoc(stored)->isEqual(key)) != 0;
  });
}

VxAssociation* VxDictionary::getAssocForKey(VXSIZE_T key) const { return asAssoc(at(getIndexForKey(key))); }

VxAssociation* VxDictionary::getAssocForKey(const VxSubString* key) const {
  return asAssoc(at(getIndexForKey(key)));
}

VXSIZE_T VxDictionary::getIntForKey(VXSIZE_T key) const {
  VxAssociation* assoc = getAssocForKey(key);
  return assoc == nullptr ? 0 : assoc->getIntData();
}

VxObject* VxDictionary::getPtrForKey(VXSIZE_T key) const {
  VxAssociation* assoc = getAssocForKey(key);
  return assoc == nullptr ? nullptr : assoc->getPtrData();
}

VxObject* VxDictionary::getPtrForKey(const VxSubString* key) const {
  VxAssociation* assoc = getAssocForKey(key);
  return assoc == nullptr ? nullptr : assoc->getPtrData();
}

int VxDictionary::doesExist(VXSIZE_T key) const { return getAssocForKey(key) != nullptr; }

int VxDictionary::doesExist(const VxSubString* key) const { return getAssocForKey(key) != nullptr; }

void VxDictionary::deleteKeyAndData() {
  for (uint16_t i = tableSize; i-- > 0;) {
    VxAssociation* assoc = asAssoc(slots.at(i));
    if (assoc == nullptr) continue;
    assoc->deleteKeyAndData();
    delete assoc;
    slots[i] = nullptr;
  }
  entryCount = 0;
}
