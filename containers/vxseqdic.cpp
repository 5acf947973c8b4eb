// Insertion-ordered key/datum lookups over VxArray.
#include "containers/vxseqdic.h"

#include "containers/vxintint.h"
#include "containers/vxintptr.h"
#include "containers/vxstring.h"
#include "containers/vxsubptr.h"

VxSeqDictionary::VxSeqDictionary() : caseInsensitive(0) {}

VxSeqDictionary::~VxSeqDictionary() {
  for (VXSIZE_T i = count; i-- > 0;) {
    delete at(i);
    (*this)[i] = nullptr;
  }
}

unsigned VxSeqDictionary::appendCreated(VxAssociation* assoc) {
  if (assoc == nullptr) return 1;
  if (add(assoc) != 0) {
    delete assoc;
    return 1;
  }
  return 0;
}

unsigned VxSeqDictionary::addAssoc(VXSIZE_T key, VXSIZE_T data) {
  return appendCreated(new VxIntIntKey(key, data));
}

unsigned VxSeqDictionary::addAssoc(VXSIZE_T key, VxObject* data) {
  return appendCreated(new VxIntPtrKey(key, data));
}

unsigned VxSeqDictionary::addAssoc(VxSubString* key, VxObject* data) {
  return appendCreated(new VxSubPtrKey(key, data));
}

VXSIZE_T VxSeqDictionary::getIndexForKey(VXSIZE_T key) const {
  VXSIZE_T i = 0;
  while (i < count && !getAssocAtIndex(i)->isEqual(key)) ++i;
  return i;
}

VXSIZE_T VxSeqDictionary::getIndexForKey(const VxSubString* key) const {
  VXSIZE_T i = 0;
  if (caseInsensitive != 0) {
    while (i < count && !getAssocAtIndex(i)->isEqualCi(key)) ++i;
  } else {
    while (i < count && !getAssocAtIndex(i)->isEqual(key)) ++i;
  }
  return i;
}

VXSIZE_T VxSeqDictionary::getIndexForKey(const VxSubString& key) const { return getIndexForKey(&key); }

int VxSeqDictionary::doesExist(VXSIZE_T key) const { return getIndexForKey(key) != count; }

int VxSeqDictionary::doesExist(const VxSubString& key) const { return getIndexForKey(&key) != count; }

int VxSeqDictionary::doesExist(const VxSubString* key) const { return getIndexForKey(key) != count; }

VXSIZE_T VxSeqDictionary::getIntForKey(VXSIZE_T key) const {
  const VXSIZE_T i = getIndexForKey(key);
  return i == count ? 0 : getIntDataAtIndex(i);
}

VxObject* VxSeqDictionary::getPtrForKey(VXSIZE_T key) const {
  const VXSIZE_T i = getIndexForKey(key);
  return i == count ? nullptr : getPtrDataAtIndex(i);
}

VxObject* VxSeqDictionary::getPtrForKey(const VxSubString* key) const {
  const VXSIZE_T i = getIndexForKey(key);
  return i == count ? nullptr : getPtrDataAtIndex(i);
}

void VxSeqDictionary::changeData(VXSIZE_T key, VXSIZE_T data) {
  const VXSIZE_T i = getIndexForKey(key);
  if (i != count) getAssocAtIndex(i)->changeData(data);
}

void VxSeqDictionary::changeData(const VxSubString& key, VxObject* data) {
  const VXSIZE_T i = getIndexForKey(&key);
  if (i != count) getAssocAtIndex(i)->changeData(data);
}

void VxSeqDictionary::deleteKeyAndDataAtIndex(VXSIZE_T index) {
  getAssocAtIndex(index)->deleteKeyAndData();
  deleteAtIndex(index);
}

void VxSeqDictionary::deleteKeyAndData() {
  for (VXSIZE_T i = count; i-- > 0;) {
    VxAssociation* assoc = getAssocAtIndex(i);
    if (assoc == nullptr) continue;
    assoc->deleteKeyAndData();
    delete assoc;
    (*this)[i] = nullptr;
  }
  count = 0;
}
