// Helpers shared by the grammar engine's tests: blobs from rule lists and
// files, and a tree written as one line.
#ifndef VX_TESTS_PARSER_GRAMMAR_SUPPORT_H_
#define VX_TESTS_PARSER_GRAMMAR_SUPPORT_H_

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "parser/vxparse.h"

typedef std::vector<std::pair<int16_t, std::string>> Entries;

// The blob layout: text, NUL, 16-bit number, ..., final NUL.
std::string makeBlob(const Entries& entries);
// Entries of a vxtool grammar or keyword file ("NUMBER TEXT" lines).
Entries readEntries(const std::string& path);
// A tree as "N[child child]" for rules and "KIND:TEXT" for terminals.
std::string treeText(const VxReduction* node);
// The parser over the shipped SQL grammar in examples/sql, with "_" in
// identifiers; keywordWords maps keyword numbers to their words.
void loadSqlGrammar(VxParser& parser, std::map<int, std::string>* keywordWords = nullptr);

#endif  // VX_TESTS_PARSER_GRAMMAR_SUPPORT_H_
