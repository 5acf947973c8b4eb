// A command's error list and the printing of its records.
#include "tools/vxtool/tool_errors.h"

ToolErrorList::ToolErrorList()
    : list_(this, VxErrorList::kSupportMultipleErrors),
      installed_(VxErrorKeeper::setErrorList(&list_) == 0) {}

ToolErrorList::~ToolErrorList() {
  if (installed_) VxErrorKeeper::giveUpErrorList();
}

// The records come out in the order filed; the memory record, which the
// list answers with once it ran out of memory, comes last.
int ToolErrorList::print(FILE* out) {
  int lines = 0;
  for (VXSIZE_T i = 0; i < list_.getCount(); ++i, ++lines) {
    VxError* e = list_.at(i);
    const char* state = e->getInterfaceCode();
    fprintf(out, "%s %u%s%s%s: %s\n", e->isWarning() ? "warning" : "error",
            unsigned(e->getErrorNumber()), *state ? " (" : "", state, *state ? ")" : "",
            e->getErrorText());
  }
  if (list_.isOutOfMemory()) {
    VxError* memory = list_.getMemoryError();
    fprintf(out, "error %u: %s\n", unsigned(memory->getErrorNumber()), memory->getErrorText());
    ++lines;
  }
  list_.clearErrors();
  return lines;
}

int ToolErrorList::fail() {
  print(stderr);
  return 1;
}
