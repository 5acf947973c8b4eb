// VxSeqDictionary: key/datum associations kept in insertion order and
// searched linearly.
//
// A VxArray of VxAssociation objects. Lookups scan from index 0 and stop
// at the first association whose key matches, so they cost O(n) but keep
// the order in which entries were added (the connection-string parser
// relies on that to rebuild strings). There is no duplicate check: an
// association added with an existing key is appended, and lookups by key
// never reach it, because the earlier one is found first.
//
// Ownership: the dictionary owns its association objects and destroys them
// (last first) in its destructor, but not the keys and data they point to.
// Those are destroyed only by deleteKeyAndData() and
// deleteKeyAndDataAtIndex().
//
// Thread-safety: none; a dictionary is used by one thread at a time.
//
// Failure: addAssoc returns 1 when the association cannot be allocated or
// the array cannot grow; the dictionary is then unchanged. No error record
// is filed. A missing key gives getCount(), 0 or null. Indexes given to
// the ...AtIndex calls are not checked.
#ifndef VX_CONTAINERS_VXSEQDIC_H_
#define VX_CONTAINERS_VXSEQDIC_H_

#include <cstdint>

#include "containers/vxarray.h"
#include "containers/vxassoci.h"
#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

class VxSubString;

class VX_EXPORT VxSeqDictionary : public VxArray {
 public:
  // Empty and case-sensitive.
  VxSeqDictionary();
  // Destroys every association, last first, not their keys or data.
  ~VxSeqDictionary() override;

  // Create a VxIntIntKey, VxIntPtrKey or VxSubPtrKey and append it. The
  // key string and the datum are taken by pointer, not copied.
  unsigned addAssoc(VXSIZE_T key, VXSIZE_T data);
  unsigned addAssoc(VXSIZE_T key, VxObject* data);
  unsigned addAssoc(VxSubString* key, VxObject* data);

  // The first index whose association's key equals the key (string keys
  // without regard to case after setCaseInsensitive); getCount() when none.
  VXSIZE_T getIndexForKey(VXSIZE_T key) const;
  VXSIZE_T getIndexForKey(const VxSubString& key) const;
  VXSIZE_T getIndexForKey(const VxSubString* key) const;

  // 1 when the key is present, else 0.
  int doesExist(VXSIZE_T key) const;
  int doesExist(const VxSubString& key) const;
  int doesExist(const VxSubString* key) const;
  // getIntData() of the key's association; 0 when missing.
  VXSIZE_T getIntForKey(VXSIZE_T key) const;
  // getPtrData() of the key's association; null when missing.
  VxObject* getPtrForKey(VXSIZE_T key) const;
  VxObject* getPtrForKey(const VxSubString* key) const;

  // changeData on the key's association: replaces an integer datum, or
  // the object datum of a string-keyed association (the old object is not
  // destroyed). A missing key changes nothing.
  void changeData(VXSIZE_T key, VXSIZE_T data);
  void changeData(const VxSubString& key, VxObject* data);

  // The accessors of the association at an index.
  VxAssociation* getAssocAtIndex(VXSIZE_T index) const { return static_cast<VxAssociation*>(at(index)); }
  VXSIZE_T getIntKeyAtIndex(VXSIZE_T index) const { return getAssocAtIndex(index)->getIntKey(); }
  VxSubString* getSubKeyAtIndex(VXSIZE_T index) const { return getAssocAtIndex(index)->getSubKey(); }
  VXSIZE_T getIntDataAtIndex(VXSIZE_T index) const { return getAssocAtIndex(index)->getIntData(); }
  VxObject* getPtrDataAtIndex(VXSIZE_T index) const { return getAssocAtIndex(index)->getPtrData(); }

  // Destroys the key and datum of the association at index, then the
  // association; later entries move down one place.
  void deleteKeyAndDataAtIndex(VXSIZE_T index);
  // Last first: every association destroys its key and datum and is
  // destroyed; the count becomes 0 (the storage stays).
  void deleteKeyAndData();

  // From now on string keys compare without regard to case.
  void setCaseInsensitive() { caseInsensitive = 1; }

 private:
  // Appends a freshly created association; 1 (and nothing kept) when it is
  // null or the array cannot grow.
  unsigned appendCreated(VxAssociation* assoc);

  uint32_t caseInsensitive;
};

#endif  // VX_CONTAINERS_VXSEQDIC_H_
