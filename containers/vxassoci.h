// VxAssociation: one key and one datum, the item type of the dictionaries.
//
// Three concrete forms exist: VxIntIntKey (integer key, integer datum),
// VxIntPtrKey (integer key, object datum) and VxSubPtrKey (string key,
// object datum). The base class answers every typed question with 0 or
// null, so a caller may ask any association any question: an integer
// association asked for its string key says null, and so on.
//
// Ownership: an association never destroys its key or datum when it is
// destroyed. Only deleteKeyAndData() does, and only for the pointer forms.
//
// Equality between two associations is double dispatch: a.isEqual(&b)
// asks b whether its key equals a's key through b's typed isEqual, so
// associations of different forms are never equal.
//
// Thread-safety: none. Failure: no operation fails.
#ifndef VX_CONTAINERS_VXASSOCI_H_
#define VX_CONTAINERS_VXASSOCI_H_

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

class VxSubString;

class VX_EXPORT VxAssociation : public VxObject {
 public:
  VxAssociation() = default;
  ~VxAssociation() override;

  // The virtual operations below keep this order.

  // Non-zero when the other association has a key equal to this one.
  virtual int isEqual(const VxAssociation* other) const = 0;
  // The same, comparing string keys without regard to case; 0 by default.
  virtual int isEqualCi(const VxAssociation* other) const;
  // Non-zero when this association's string key equals `key`; 0 by default.
  virtual int isEqual(const VxSubString* key) const;
  // The same without regard to case; 0 by default.
  virtual int isEqualCi(const VxSubString* key) const;
  // Non-zero when this association's integer key equals `key`; 0 by default.
  virtual int isEqual(VXSIZE_T key) const;
  // The integer key; 0 by default.
  virtual VXSIZE_T getIntKey() const;
  // The integer datum; 0 by default.
  virtual VXSIZE_T getIntData() const;
  // The string key; null by default.
  virtual VxSubString* getSubKey() const;
  // The object datum; null by default.
  virtual VxObject* getPtrData() const;
  // Replaces an integer datum and returns it; by default ignores the
  // argument and returns 0.
  virtual VXSIZE_T changeData(VXSIZE_T data);
  // Replaces an object datum (the old one is NOT destroyed) and returns it;
  // by default ignores the argument and returns null.
  virtual VxObject* changeData(VxObject* data);
  // The value the hash tables place the association by.
  virtual VXSIZE_T hash() const = 0;
  // Destroys what the association points to (see each form).
  virtual void deleteKeyAndData() = 0;
};

#endif  // VX_CONTAINERS_VXASSOCI_H_
