// VxDictionary: a hash table of key/datum associations.
//
// A VxSet whose items are VxAssociation objects (VxIntIntKey, VxIntPtrKey
// or VxSubPtrKey). Lookups probe the table from the key's start slot
// downward; integer keys hash to themselves, string keys by their first
// five bytes upper-cased, so keys sharing those five bytes (in any case)
// probe the same run of slots.
//
// Call initialize(n) with the expected number of entries before use; an
// unsized dictionary finds nothing and sizes itself on the first add.
//
// Ownership: the dictionary owns its association objects and destroys them
// in its destructor, but not the keys and data they point to. Those are
// destroyed only by deleteKeyAndData(). An addAssoc of a key already
// present replaces the older association in its slot WITHOUT destroying it
// (and the entry count still grows): callers that must not duplicate test
// doesExist first.
//
// Case: bit 0 of `flags` (caseInsensitive) makes string keys compare
// without regard to case. The constructor clears it and nothing in this
// class sets it; a subclass that wants it sets it before the first add.
//
// Thread-safety: none; a dictionary is used by one thread at a time.
//
// Failure: addAssoc returns 1 when the association cannot be allocated
// (nothing changes) or when the table could not grow after the store (the
// association IS stored and found). No error record is filed. A missing
// key gives 0, null, or an empty slot.
#ifndef VX_CONTAINERS_VXDICTIO_H_
#define VX_CONTAINERS_VXDICTIO_H_

#include <cstdint>

#include "containers/vxassoci.h"
#include "containers/vxset.h"
#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

class VxSubString;

class VX_EXPORT VxDictionary : public VxSet {
 public:
  // Unsized, case-sensitive.
  VxDictionary();
  // Destroys every association (highest slot first), not their keys or
  // data.
  ~VxDictionary() override;

  // The association's hash().
  VXSIZE_T doHash(void* item) override;
  // The stored association's isEqual (isEqualCi when caseInsensitive) of
  // the sought one.
  int areEqual(void* stored, void* item) override;

  // Create a VxIntIntKey, VxIntPtrKey or VxSubPtrKey and add it. The key
  // string and the datum are taken by pointer, not copied.
  unsigned addAssoc(VXSIZE_T key, VXSIZE_T data);
  unsigned addAssoc(VXSIZE_T key, VxObject* data);
  unsigned addAssoc(VxSubString* key, VxObject* data);

  // The slot holding the association for the key, or the empty slot where
  // the probe stopped. An integer key matches an association whose
  // getIntKey() equals it; a string key one whose isEqual (isEqualCi when
  // caseInsensitive) of the string is true. String keys must not be null.
  uint16_t getIndexForKey(VXSIZE_T key) const;
  uint16_t getIndexForKey(const VxSubString* key) const;

  // The association for the key, or null.
  VxAssociation* getAssocForKey(VXSIZE_T key) const;
  VxAssociation* getAssocForKey(const VxSubString* key) const;
  // getIntData() of the key's association; 0 when missing.
  VXSIZE_T getIntForKey(VXSIZE_T key) const;
  // getPtrData() of the key's association; null when missing.
  VxObject* getPtrForKey(VXSIZE_T key) const;
  VxObject* getPtrForKey(const VxSubString* key) const;
  // 1 when the key has an association, else 0.
  int doesExist(VXSIZE_T key) const;
  int doesExist(const VxSubString* key) const;

  // Highest slot first: each association destroys its key and datum and
  // is destroyed; every slot becomes empty and the entry count 0. The
  // table keeps its size.
  void deleteKeyAndData();

 protected:
  static constexpr uint8_t kCaseInsensitive = 0x01;
  uint8_t flags;

 private:
  // Adds a freshly created association; 1 when it is null.
  unsigned addCreated(VxAssociation* assoc);
};

#endif  // VX_CONTAINERS_VXDICTIO_H_
