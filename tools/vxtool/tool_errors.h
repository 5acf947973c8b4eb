// The error list of one vxtool command.
//
// A command that calls the library creates a ToolErrorList first: it
// installs a list that keeps every report as the calling thread's current
// list, for as long as the object lives. When a call fails, print() writes
// what the library filed on standard error, one line per record:
//
//   error 2701: The number 99999999999999999999 is out of range.
//   warning 2735: String data, right truncated.
//   error 7503 (08S01): The connection was lost or is not open.
//
// A record that carries an SQLSTATE shows it in parentheses.
//
//   int runThing(const std::vector<std::string>& args) {
//     ToolErrorList errors;
//     if (libraryCall(...) != 0) return errors.fail();   // prints, exit 1
//     ...
//   }
//
// Lists nest, so a helper may create its own while a command's is live.
#ifndef VX_TOOLS_VXTOOL_TOOL_ERRORS_H_
#define VX_TOOLS_VXTOOL_TOOL_ERRORS_H_

#include <cstdio>

#include "foundation/vxerror.h"

class ToolErrorList {
 public:
  // Installs a multiple-error list for the calling thread.
  ToolErrorList();
  // Gives the list up (the previous one, if any, is current again) and
  // deletes its records without printing them.
  ~ToolErrorList();
  ToolErrorList(const ToolErrorList&) = delete;
  ToolErrorList& operator=(const ToolErrorList&) = delete;

  // Writes every record as "error NNNN: TEXT" ("warning NNNN: TEXT" for a
  // warning, "error NNNN (SQLSTATE): TEXT" when it carries one) to out, in
  // the order filed, then clears the list. Returns the number of lines
  // written.
  int print(FILE* out = stderr);
  // print() on standard error, then the failure exit status 1.
  int fail();

  VxErrorList& list() { return list_; }

 private:
  VxErrorList list_;
  bool installed_;
};

#endif  // VX_TOOLS_VXTOOL_TOOL_ERRORS_H_
