// Arbitrary statements through the shipped SQL grammar (examples/sql).
//
// A parse must return 0 or 1, the same twice; a tree's terminals, written
// one after the other, must be the statement itself once blanks and
// control characters are left out of both: every token lands in the tree
// once, whatever the backtracking tried on the way.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include "parser/vxparse.h"

namespace {

std::string blobFromFile(const char* path) {
  std::ifstream in(path);
  std::string blob, line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    int16_t number = static_cast<int16_t>(atoi(line.c_str()));
    size_t text = line.find_first_not_of(' ', line.find(' '));
    blob += line.substr(text);
    blob.push_back('\0');
    blob.append(reinterpret_cast<const char*>(&number), 2);
  }
  blob.push_back('\0');
  return blob;
}

VxParser* sqlParser() {
  static VxParser* parser = [] {
    VxParser* p = new VxParser(blobFromFile(VX_SOURCE_DIR "/examples/sql/odbc-sql.grammar").c_str(),
                               blobFromFile(VX_SOURCE_DIR "/examples/sql/odbc-sql.keywords").c_str());
    if (!p->initialised() || p->setValidMiddleChars("_")) abort();
    return p;
  }();
  return parser;
}

std::string withoutBlanks(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (static_cast<unsigned char>(c) > ' ') out += c;
  }
  return out;
}

void appendTerminals(const VxReduction* root, std::string& out) {
  for (const VxReduction* node = root; node;) {
    if (node->terminal()) out += node->getString();
    if (node->getChild()) {
      node = node->getChild();
      continue;
    }
    while (node && node != root && !node->getNextSibling()) node = node->getParent();
    node = node && node != root ? node->getNextSibling() : nullptr;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  text = text.substr(0, text.find('\0'));
  VxParser* parser = sqlParser();
  VxReduction *root = nullptr, *again = nullptr;
  unsigned status = parser->parse(text.c_str(), root);
  if (status > 1 || parser->parse(text.c_str(), again) != status) abort();
  if (status == 0) {
    std::string terminals;
    appendTerminals(root, terminals);
    if (withoutBlanks(terminals) != withoutBlanks(text)) abort();
  }
  delete root;
  delete again;
  return 0;
}
