// Look-ups in the sorted code-page tables.
#include <cassert>

#include "charset/ucnv.h"

namespace {

// Binary search over rows sorted by key: low = 0, high = rows - 1, middle
// = (low + high) / 2. The index of the row with this key, or -1.
template <class Row>
int64_t findRow(int64_t key, const Row* table, int64_t rows) {
  int64_t low = 0;
  int64_t high = rows - 1;
  while (low <= high) {
    int64_t middle = (low + high) / 2;
    assert(middle >= 0 && middle < rows);
    if (table[middle].key == key) return middle;
    if (table[middle].key < key) {
      low = middle + 1;
    } else {
      high = middle - 1;
    }
  }
  return -1;
}

}  // namespace

const char* ucnvMapToName(int64_t key, const UcnvNameRow* table, int64_t rows) {
  int64_t i = findRow(key, table, rows);
  return i < 0 ? nullptr : table[i].name;
}

int64_t ucnvMapToIANAID(int64_t key, const UcnvMapRow* table, int64_t rows) {
  int64_t i = findRow(key, table, rows);
  return i < 0 ? kUcnvNotFound : table[i].value;
}

const char* ucnvIANAidToICUname(int64_t iana) {
  return ucnvMapToName(iana, IANAtoICUTable, IANAtoICUTableRows);
}

int64_t ucnvIANAToIBM(int64_t iana) {
  return ucnvMapToIANAID(iana, IANAtoIBMTable, IANAtoIBMTableRows);
}

int64_t ucnvIBMToIANA(int64_t ibm) {
  return ucnvMapToIANAID(ibm, IBMtoIANATable, IBMtoIANATableRows);
}

int64_t ucnvWindowsToIANA(int64_t windows) {
  return ucnvMapToIANAID(windows, WindowsToIANATable, WindowsToIANATableRows);
}

int64_t ucnvUnilibToIANA(int64_t unilib) {
  return ucnvMapToIANAID(unilib, UnilibToIANATable, UnilibToIANATableRows);
}
