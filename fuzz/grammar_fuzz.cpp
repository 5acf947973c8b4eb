// Arbitrary rule texts and keyword lists through the grammar compiler, and
// short statements through whatever grammar compiles.
//
// Input: lines. A line starting with "!" is a keyword (numbered from 100),
// "?" the statement to parse (at most 24 bytes, so that a grammar full of
// ambiguity still parses quickly), any other line a rule (numbered from
// 1000). Compiling must give status 0 or 1 and the same status twice; a
// tree must hang together (every child's parent is its node) and hold no
// more terminals than the statement has bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "parser/vxparse.h"

namespace {

void append(std::string& blob, const std::string& text, int16_t number) {
  blob += text;
  blob.push_back('\0');
  blob.append(reinterpret_cast<const char*>(&number), 2);
}

// Terminals below node, checking the parent links on the way (iteratively:
// a tree can be deep).
size_t checkTree(const VxReduction* root) {
  size_t terminals = 0;
  for (const VxReduction* node = root; node;) {
    if (node->terminal()) ++terminals;
    if (node->getChild()) {
      if (node->getChild()->getParent() != node) abort();
      node = node->getChild();
      continue;
    }
    while (node && node != root && !node->getNextSibling()) node = node->getParent();
    if (!node || node == root) break;
    if (node->getNextSibling()->getParent() != node->getParent()) abort();
    node = node->getNextSibling();
  }
  return terminals;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string rules, keywords, statement;
  int16_t ruleNumber = 1000, keywordNumber = 100;
  std::string input(reinterpret_cast<const char*>(data), size);
  for (char& c : input) c = c == '\0' ? ' ' : c;
  for (size_t start = 0; start <= input.size();) {
    size_t end = input.find('\n', start);
    if (end == std::string::npos) end = input.size();
    std::string line = input.substr(start, end - start);
    start = end + 1;
    if (line.empty()) continue;
    if (line[0] == '!') {
      append(keywords, line.substr(1), keywordNumber++);
    } else if (line[0] == '?') {
      statement = line.substr(1, 24);
    } else {
      append(rules, line, ruleNumber++);
    }
  }
  rules.push_back('\0');
  keywords.push_back('\0');

  VxParser parser;
  unsigned status = parser.init(rules.data(), keywords.data());
  if (status > 1) abort();
  VxKeywordList list(keywords.data());
  VxGrammar again(rules.data(), &list);
  if (again.compiled() != (status == 0)) abort();
  if (status != 0) return 0;
  VxReduction* root = nullptr;
  unsigned parsed = parser.parse(statement.c_str(), root);
  if (parsed > 1 || (parsed == 0 && !root)) abort();
  if (parsed == 0 && checkTree(root) > statement.size()) abort();
  delete root;
  return 0;
}
