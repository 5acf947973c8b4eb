// The XML writer over arbitrary bytes: column names, character data in
// three code pages and as UTF-16, and date, time-stamp, double and binary
// values made of raw input bytes. Every document it closes must parse with
// libxml2 and hold as many records as were appended, and character data
// that was valid UTF-8 must read back as itself (with the control
// characters XML cannot carry replaced). Escaping must write exactly the
// length it measured.
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sqlext.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "xml/XPst.h"
#include "xml/XPstConvert.h"
#include "xml/basexml.h"

namespace {

struct Input {
  const uint8_t* data;
  size_t left;
  std::string take(size_t n) {
    n = n < left ? n : left;
    std::string out(reinterpret_cast<const char*>(data), n);
    data += n;
    left -= n;
    return out;
  }
  uint8_t byte() { return left > 0 ? (--left, *data++) : 0; }
};

// What a reader finds for valid UTF-8 text: controls other than tab, line
// feed and carriage return, and U+FFFE / U+FFFF, become U+FFFD.
std::string readable(const std::string& s) {
  std::string out;
  for (size_t i = 0; i < s.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    bool nonCharacter = c == 0xEF && i + 2 < s.size() && uint8_t(s[i + 1]) == 0xBF &&
                        (uint8_t(s[i + 2]) == 0xBE || uint8_t(s[i + 2]) == 0xBF);
    if ((c < 0x20 && c != '\t' && c != '\n' && c != '\r') || nonCharacter) {
      out += "\xEF\xBF\xBD";
      if (nonCharacter) i += 2;
    } else {
      out += char(c);
    }
  }
  return out;
}

std::string scratch;

// The scratch directory, removed with its documents when the process ends.
std::string directory() {
  if (scratch.empty()) {
    char pattern[] = "/tmp/xmlescape_fuzz_XXXXXX";
    if (mkdtemp(pattern) == nullptr) abort();
    scratch = pattern;
    atexit([] {
      unlink((scratch + "/doc.xml").c_str());
      unlink((scratch + "/doc.xsd").c_str());
      rmdir(scratch.c_str());
    });
  }
  return scratch;
}

void checkEscape(const std::string& text) {
  std::string out(XPstEscapedLength(text.data(), text.size()) + 1, '#');
  if (XPstEscapeText(&out[0], text.data(), text.size()) != out.size() - 1 || out.back() != '#')
    abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input in{data, size};
  static const char* const kCodePages[] = {"UTF-8", "ISO-8859-1", "Shift_JIS"};
  const char* codePage = kCodePages[in.byte() % 3];
  bool separate = in.byte() & 1;
  std::string name = in.take(in.byte() % 8);
  XML_PERSIST_COL_DESC columns[] = {
      {name.c_str(), SQL_VARCHAR, 50, 0, SQL_NULLABLE, 0, SQL_C_CHAR},
      {"W", SQL_WLONGVARCHAR, 0, 0, SQL_NULLABLE, 0, SQL_C_WCHAR},
      {"D", SQL_TYPE_DATE, 10, 0, SQL_NULLABLE, 0, SQL_C_TYPE_DATE},
      {"T", SQL_TYPE_TIMESTAMP, 19, 0, SQL_NULLABLE, 0, SQL_C_TYPE_TIMESTAMP},
      {"F", SQL_DOUBLE, 15, 0, SQL_NULLABLE, 0, SQL_C_DOUBLE},
      {"B", SQL_VARBINARY, 8, 0, SQL_NULLABLE, 0, SQL_C_BINARY}};
  std::string out = directory() + "/doc.xml", schema = directory() + "/doc.xsd";
  // Renaming onto an existing file makes some file systems flush it first.
  unlink(out.c_str());
  unlink(schema.c_str());
  XPstInit();
  XPstWriter* writer = XPstCreate(out.c_str(), separate ? schema.c_str() : nullptr, codePage);
  if (writer == nullptr || XPstDescribeColumns(writer, columns, 6) != 0) abort();
  std::vector<std::string> texts;
  size_t rows = 0;
  while (in.left > 0 && rows < 8) {
    std::string text = in.take(in.byte() % 40);
    std::string wide = in.take(2 * (in.byte() % 20));
    std::string raw = in.take(sizeof(TIMESTAMP_STRUCT) + sizeof(double) + 8);
    raw.resize(sizeof(TIMESTAMP_STRUCT) + sizeof(double) + 8, 0);
    checkEscape(text);
    TIMESTAMP_STRUCT stamp;
    DATE_STRUCT date;
    double real;
    memcpy(&stamp, raw.data(), sizeof stamp);
    memcpy(&date, raw.data(), sizeof date);
    memcpy(&real, raw.data() + sizeof stamp, sizeof real);
    const void* values[] = {text.data(), wide.data(), &date, &stamp, &real,
                            raw.data() + sizeof stamp + sizeof real};
    int64_t lengths[] = {int64_t(text.size()), int64_t(wide.size()), 0, 0, 0,
                         int64_t(raw.size() % 9)};
    if (XPstAppendRowData(writer, values, lengths) != 0) abort();
    texts.push_back(text);
    ++rows;
  }
  if (XPstClose(writer) != 0) abort();
  XPstFree(writer);
  XPstTerminate();

  std::ifstream file(out, std::ios::binary);
  std::stringstream bytes;
  bytes << file.rdbuf();
  std::string document = bytes.str();
  xmlDocPtr doc = xmlReadMemory(document.data(), int(document.size()), nullptr, nullptr,
                                XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  if (doc == nullptr) abort();
  xmlNodePtr holder = xmlDocGetRootElement(doc);
  if (!separate)
    for (xmlNodePtr n = holder->children; n != nullptr; n = n->next)
      if (n->type == XML_ELEMENT_NODE && xmlStrEqual(n->name, BAD_CAST "data")) holder = n;
  size_t found = 0;
  for (xmlNodePtr r = holder->children; r != nullptr; r = r->next) {
    if (r->type != XML_ELEMENT_NODE || !xmlStrEqual(r->name, BAD_CAST "record")) continue;
    const std::string& text = texts[found++];
    xmlNodePtr first = r->children;
    while (first != nullptr && first->type != XML_ELEMENT_NODE) first = first->next;
    if (first == nullptr) abort();
    if (strcmp(codePage, "UTF-8") == 0 && XPstIsValidUtf8(text.data(), text.size())) {
      xmlChar* content = xmlNodeGetContent(first);
      bool same = readable(text) == reinterpret_cast<const char*>(content);
      xmlFree(content);
      if (!same) abort();
    }
  }
  xmlFreeDoc(doc);
  if (found != rows) abort();
  if (separate) {
    xmlDocPtr schemaDoc = xmlReadFile(schema.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR);
    if (schemaDoc == nullptr) abort();
    xmlFreeDoc(schemaDoc);
  }
  return 0;
}
