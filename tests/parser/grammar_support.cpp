#include "parser/grammar_support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>

std::string makeBlob(const Entries& entries) {
  std::string blob;
  for (const auto& e : entries) {
    blob += e.second;
    blob.push_back('\0');
    blob.append(reinterpret_cast<const char*>(&e.first), 2);
  }
  blob.push_back('\0');
  return blob;
}

Entries readEntries(const std::string& path) {
  Entries entries;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    size_t blank = line.find(' ');
    entries.emplace_back(static_cast<int16_t>(atoi(line.c_str())), line.substr(line.find_first_not_of(' ', blank)));
  }
  return entries;
}

std::string treeText(const VxReduction* node) {
  if (node->terminal()) return std::to_string(node->reductNumber()) + ":" + node->getString();
  std::string text = std::to_string(node->reductNumber()) + "[";
  for (const VxReduction* child = node->getChild(); child; child = child->getNextSibling()) {
    EXPECT_EQ(node, child->getParent());
    text += (child == node->getChild() ? "" : " ") + treeText(child);
  }
  return text + "]";
}

void loadSqlGrammar(VxParser& parser, std::map<int, std::string>* keywordWords) {
  std::string dir = std::string(VX_TEST_SOURCE_DIR) + "/examples/sql/";
  Entries keywords = readEntries(dir + "odbc-sql.keywords");
  ASSERT_EQ(0u, parser.init(makeBlob(readEntries(dir + "odbc-sql.grammar")).data(), makeBlob(keywords).data()));
  ASSERT_EQ(0u, parser.setValidMiddleChars("_"));
  if (keywordWords) {
    for (const auto& k : keywords) (*keywordWords)[k.first] = k.second;
  }
}
