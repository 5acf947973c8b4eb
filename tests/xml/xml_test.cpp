// The XML writer through its C interface, judged by libxml2 reading the
// documents back and by xmllint.
#include <dirent.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sqlext.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/ram_internal.h"
#include "xml/XPst.h"
#include "xml/XPstConvert.h"

namespace {

// One record as read back: element name to text; a NULL is absent.
typedef std::map<std::string, std::string> Record;

class XmlWriterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/xml_test_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir = pattern;
    ASSERT_EQ(0u, XPstInit());
  }
  void TearDown() override {
    for (const std::string& name : files()) unlink((dir + "/" + name).c_str());
    rmdir(dir.c_str());
    XPstTerminate();
  }
  std::string path(const std::string& name) const { return dir + "/" + name; }
  // The names in the scratch directory, sorted.
  std::vector<std::string> files() const {
    std::vector<std::string> out;
    DIR* d = opendir(dir.c_str());
    for (dirent* e; d != nullptr && (e = readdir(d)) != nullptr;)
      if (std::string(e->d_name) != "." && std::string(e->d_name) != "..") out.push_back(e->d_name);
    if (d != nullptr) closedir(d);
    std::sort(out.begin(), out.end());
    return out;
  }
  static std::string slurp(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  static bool xmllintAccepts(const std::string& file) {
    return system((std::string(VX_XMLLINT) + " --noout " + file + " 2>/dev/null").c_str()) == 0;
  }
  // The error numbers the writer holds, in order.
  static std::vector<uint16_t> errorNumbers(XPstWriter* writer) {
    std::vector<uint16_t> out;
    uint16_t number = 0;
    char text[256];
    for (uint16_t i = 0; XPstGetErrorMessage(writer, i, &number, text, sizeof text) == 0; ++i)
      out.push_back(number);
    return out;
  }
  // The records of a document of either shape, read with libxml2.
  static std::vector<Record> readRecords(const std::string& file) {
    std::vector<Record> out;
    xmlDocPtr doc = xmlReadFile(file.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_HUGE);
    EXPECT_NE(nullptr, doc) << file;
    if (doc == nullptr) return out;
    xmlNodePtr holder = xmlDocGetRootElement(doc);
    for (xmlNodePtr n = holder->children; n != nullptr; n = n->next)
      if (n->type == XML_ELEMENT_NODE && xmlStrEqual(n->name, BAD_CAST "data")) holder = n;
    for (xmlNodePtr r = holder->children; r != nullptr; r = r->next) {
      if (r->type != XML_ELEMENT_NODE || !xmlStrEqual(r->name, BAD_CAST "record")) continue;
      Record record;
      for (xmlNodePtr v = r->children; v != nullptr; v = v->next) {
        if (v->type != XML_ELEMENT_NODE) continue;
        xmlChar* text = xmlNodeGetContent(v);
        record[reinterpret_cast<const char*>(v->name)] = reinterpret_cast<const char*>(text);
        xmlFree(text);
      }
      out.push_back(record);
    }
    xmlFreeDoc(doc);
    return out;
  }

  std::string dir;
};

// The columns of the round-trip result set, as "NAME" + C type.
const XML_PERSIST_COL_DESC kColumns[] = {
    {"ID", SQL_INTEGER, 10, 0, SQL_NO_NULLS, 0, SQL_C_SLONG},
    {"NAME", SQL_VARCHAR, 40, 0, SQL_NULLABLE, 0, SQL_C_CHAR},
    {"WIDE NAME", SQL_WVARCHAR, 40, 0, SQL_NULLABLE, 0, SQL_C_WCHAR},
    {"AMOUNT", SQL_DECIMAL, 15, 2, SQL_NULLABLE, 0, SQL_C_CHAR},
    {"FLAG", SQL_BIT, 1, 0, SQL_NULLABLE, 0, SQL_C_BIT},
    {"BIG", SQL_BIGINT, 20, 0, SQL_NULLABLE, 1, SQL_C_UBIGINT},
    {"RATIO", SQL_DOUBLE, 15, 0, SQL_NULLABLE, 0, SQL_C_DOUBLE},
    {"DAY", SQL_TYPE_DATE, 10, 0, SQL_NULLABLE, 0, SQL_C_TYPE_DATE},
    {"AT", SQL_TYPE_TIMESTAMP, 19, 0, SQL_NULLABLE, 0, SQL_C_TYPE_TIMESTAMP},
    {"BLOB", SQL_VARBINARY, 16, 0, SQL_NULLABLE, 0, SQL_C_BINARY},
    {"NOTE", SQL_LONGVARCHAR, 0, 0, SQL_NULLABLE, 0, SQL_C_CHAR}};
constexpr int kColumnCount = sizeof kColumns / sizeof kColumns[0];

std::string toUtf8(const std::u16string& s) {
  std::string out;
  return icu::UnicodeString(s.data(), int32_t(s.size())).toUTF8String(out);
}

// The text in a code page, converted by ICU.
std::string encode(const char* codePage, const std::u16string& s) {
  icu::UnicodeString text(s.data(), int32_t(s.size()));
  std::string out(s.size() * 4 + 4, 0);
  out.resize(size_t(text.extract(0, text.length(), &out[0], uint32_t(out.size()), codePage)));
  return out;
}

// One generated row: the buffers handed to the writer and the texts a
// reader must find (absent for NULL).
struct Row {
  int32_t id;
  std::string name, amount, note, blob;
  std::u16string wide;
  unsigned char flag;
  uint64_t big;
  double ratio;
  DATE_STRUCT day;
  TIMESTAMP_STRUCT at;
  int64_t lengths[kColumnCount];
  Record expected;
};

// Rows whose texts mix the five specials, tab, line feed, carriage
// return, empty strings and the non-ASCII letters of the code page.
class RowMaker {
 public:
  RowMaker(const char* codePage, const std::u32string& letters, unsigned seed)
      : codePage_(codePage), alphabet_(U"abcXYZ 019<>&'\"\t\n\r" + letters), random_(seed) {}

  // A text of up to maxLength characters (exactly that many when exact).
  std::u16string text(size_t maxLength, bool exact = false) {
    std::u16string s;
    for (size_t n = exact ? maxLength : random_() % (maxLength + 1); n > 0; --n) {
      char32_t c = alphabet_[random_() % alphabet_.size()];
      if (c > 0xFFFF) s += char16_t(0xD800 + ((c - 0x10000) >> 10)), c = 0xDC00 + (c & 0x3FF);
      s += char16_t(c);
    }
    return s;
  }
  void make(Row& r, int id, size_t noteLength) {
    r.id = id;
    std::u16string name = text(12), note = text(noteLength, noteLength > 1000);
    r.wide = text(12);
    r.name = encode(codePage_, name);
    r.note = encode(codePage_, note);
    r.amount = std::to_string(random_() % 100000) + "." + std::to_string(10 + random_() % 90);
    r.flag = random_() % 2;
    r.big = (uint64_t(random_()) << 32) | random_();
    r.ratio = std::ldexp(double(random_()), int(random_() % 40) - 20);
    r.day = DATE_STRUCT{SQLSMALLINT(1 + random_() % 9999), SQLUSMALLINT(1 + random_() % 12),
                        SQLUSMALLINT(1 + random_() % 28)};
    r.at = TIMESTAMP_STRUCT{2024, 2, 29, 23, 59, 58, 999999999};
    r.blob = std::string(random_() % 17, 0);
    for (char& c : r.blob) c = char(random_());
    char hex[40] = {}, day[32], at[] = "2024-02-29T23:59:58";
    for (size_t i = 0; i < r.blob.size(); ++i) snprintf(hex + 2 * i, 3, "%02X", uint8_t(r.blob[i]));
    snprintf(day, sizeof day, "%04d-%02d-%02d", r.day.year, r.day.month, r.day.day);
    std::string texts[kColumnCount] = {std::to_string(id), toUtf8(name), toUtf8(r.wide), r.amount,
                                       r.flag ? "true" : "false", std::to_string(r.big), "",
                                       day, at, hex, toUtf8(note)};
    r.expected.clear();
    for (int c = 0; c < kColumnCount; ++c) {
      bool null = c > 0 && random_() % 8 == 0 && !(c == 10 && noteLength > 1000);
      r.lengths[c] = null ? SQL_NULL_DATA : c == 1 ? int64_t(r.name.size())
                   : c == 2 ? int64_t(2 * r.wide.size()) : c == 9 ? int64_t(r.blob.size()) : SQL_NTS;
      if (!null) r.expected[c == 2 ? "WIDE_NAME" : kColumns[c].name] = texts[c];
    }
  }

 private:
  const char* codePage_;
  std::u32string alphabet_;
  std::mt19937 random_;
};

// Describes the columns and appends rows, the first of which may carry a
// long NOTE; `rows` receives them with the texts expected. Returns the
// statuses of the calls or-ed together.
uint16_t writeDocument(XPstWriter* writer, RowMaker& maker, int count, size_t bigNote,
                       std::vector<Row>* out) {
  std::vector<Row>& rows = *out;
  rows.resize(static_cast<size_t>(count));
  uint16_t status = XPstDescribeColumns(writer, kColumns, kColumnCount);
  for (int i = 0; i < count; ++i) {
    Row& r = rows[size_t(i)];
    maker.make(r, i, i == 0 ? bigNote : 30);
    const void* values[kColumnCount] = {&r.id, r.name.data(), r.wide.data(), r.amount.c_str(),
                                        &r.flag, &r.big, &r.ratio, &r.day, &r.at, r.blob.data(),
                                        r.note.c_str()};
    status |= XPstAppendRowData(writer, values, r.lengths);
  }
  return status;
}

// Every document of both shapes, in four code pages, is accepted by
// xmllint and reads back with libxml2 to the same rows, values and NULLs.
TEST_F(XmlWriterTest, RowsReadBackWithLibxml2InSeveralCodePages) {
  struct { const char* codePage; std::u32string letters; } cases[] = {
      {"UTF-8", U"\u00e9\u00df\u0416\u65e5\u672c\U0001F600"},
      {"ISO-8859-1", U"\u00e9\u00fc\u00df\u00f1\u00c5"},
      {"windows-1251", U"\u0416\u044f\u0449\u0401"},
      {"Shift_JIS", U"\u65e5\u672c\u8a9e\u30ab\u30ca"}};
  unsigned seed = 1;
  for (const auto& c : cases) {
    for (bool separate : {false, true}) {
      SCOPED_TRACE(std::string(c.codePage) + (separate ? " separate" : " inline") +
                   " seed " + std::to_string(seed));
      RowMaker maker(c.codePage, c.letters, seed++);
      std::string out = path("out.xml"), schema = path("out.xsd");
      XPstWriter* writer = XPstCreate(out.c_str(), separate ? schema.c_str() : nullptr, c.codePage);
      std::vector<Row> rows;
      EXPECT_EQ(0u, writeDocument(writer, maker, 60, seed == 2 ? 1 << 20 : 30, &rows));
      ASSERT_EQ(0u, XPstClose(writer));
      XPstFree(writer);
      EXPECT_TRUE(xmllintAccepts(out));
      EXPECT_TRUE(!separate || xmllintAccepts(schema));
      std::vector<Record> read = readRecords(out);
      ASSERT_EQ(rows.size(), read.size());
      EXPECT_EQ(seed == 2, slurp(out).size() > (1u << 20));
      for (size_t i = 0; i < rows.size(); ++i) {
        Record expected = rows[i].expected;
        if (expected.count("RATIO")) {
          EXPECT_EQ(rows[i].ratio, strtod(read[i]["RATIO"].c_str(), nullptr));
          expected["RATIO"] = read[i]["RATIO"];
        }
        ASSERT_EQ(expected, read[i]) << "row " << i;
      }
      std::vector<std::string> names{"out.xml"};
      if (separate) names.push_back("out.xsd");
      EXPECT_EQ(names, files());
      unlink(out.c_str());
      unlink(schema.c_str());
    }
  }
}

// The whole inline document of a small result set, to pin its shape: the
// root's namespaces, the schema types, the indentation, a NULL left out.
TEST_F(XmlWriterTest, InlineDocumentHasTheFixedShape) {
  XML_PERSIST_COL_DESC columns[] = {{"ID", SQL_INTEGER, 10, 0, SQL_NULLABLE, 1, SQL_C_ULONG},
                                    {"CODE", SQL_CHAR, 3, 0, SQL_NO_NULLS, 0, SQL_C_CHAR}};
  XPstWriter* writer = XPstCreate(path("t.xml").c_str(), nullptr, nullptr);
  ASSERT_EQ(0u, XPstDescribeColumns(writer, columns, 2));
  uint32_t id = 7;
  const void* values[] = {&id, "a<b&c"};
  int64_t lengths[] = {SQL_NULL_DATA, SQL_NTS};
  ASSERT_EQ(0u, XPstAppendRowData(writer, values, lengths));
  ASSERT_EQ(0u, XPstClose(writer));
  XPstFree(writer);
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<table xmlns=\"http://www.w3.org/1999/XMLSchema\" "
      "xmlns:xsi=\"http://www.w3.org/1999/XMLSchema-instance\" "
      "xmlns:rs=\"urn:vxlib:xml-recordset:1\" targetNamespace=\"urn:vxlib:xml-recordset:1\" "
      "xsi:schemaLocation=\"urn:vxlib:xml-recordset:1 t.xml\">\n"
      "  <schema elementFormDefault=\"qualified\" attributeFormDefault=\"qualified\">\n"
      "    <element name=\"table\" type=\"rs:tableType\"/>\n"
      "    <complexType name=\"tableType\">\n"
      "      <element ref=\"schema\"/>\n"
      "      <element name=\"data\" type=\"rs:dataType\"/>\n"
      "    </complexType>\n"
      "    <complexType name=\"dataType\">\n"
      "      <element name=\"record\" minOccurs=\"0\" maxOccurs=\"unbounded\" "
      "type=\"rs:recordType\"/>\n"
      "    </complexType>\n"
      "    <complexType name=\"recordType\">\n"
      "      <element name=\"ID\" minOccurs=\"0\" type=\"unsignedInt\"/>\n"
      "      <element name=\"CODE\" minOccurs=\"1\">\n"
      "          <simpleType base=\"string\">\n"
      "              <length value=\"3\"/>\n"
      "          </simpleType>\n"
      "      </element>\n"
      "    </complexType>\n"
      "  </schema>\n"
      "    <data>\n"
      "      <record>\n"
      "        <CODE>a&lt;b&amp;c</CODE>\n"
      "      </record>\n"
      "    </data>\n"
      "</table>\n",
      slurp(path("t.xml")));
}

// The declaration of each SQL type, as it appears in a schema file; the
// column names probe the edges of the ASCII letters ("`" and "[" are none).
TEST_F(XmlWriterTest, EachSqlTypeIsDeclaredAsTheTableSays) {
  struct { XML_PERSIST_COL_DESC column; const char* declaration; } rows[] = {
      {{"A", SQL_INTEGER, 10, 0, SQL_NULLABLE, 0, SQL_C_SLONG}, "\"A\" minOccurs=\"0\" type=\"int\"/>"},
      {{"B", SQL_VARCHAR, 20, 0, SQL_NO_NULLS, 0, SQL_C_CHAR},
       "<element name=\"B\" minOccurs=\"1\">\n        <simpleType base=\"string\">\n"
       "            <maxLength value=\"20\"/>\n        </simpleType>\n    </element>"},
      {{"C", SQL_WCHAR, 20, 0, SQL_NO_NULLS, 0, SQL_C_WCHAR}, "<length value=\"20\"/>"},
      {{"D", SQL_DECIMAL, 15, 2, SQL_NO_NULLS, 0, SQL_C_CHAR},
       "<simpleType base=\"decimal\">\n            <precision value=\"15\"/>\n"
       "            <scale value=\"2\"/>"},
      {{"E", SQL_BINARY, 8, 0, SQL_NO_NULLS, 0, SQL_C_BINARY},
       "<simpleType base=\"binary\">\n            <encoding value=\"hex\"/>\n"
       "            <length value=\"8\"/>"},
      {{"F", SQL_VARBINARY, 9, 0, SQL_NO_NULLS, 0, SQL_C_BINARY}, "<maxLength value=\"9\"/>"},
      {{"G", SQL_LONGVARBINARY, 0, 0, SQL_NO_NULLS, 0, SQL_C_BINARY}, "hex\"/>\n        </simpleType>"},
      {{"z", SQL_WLONGVARCHAR, 0, 0, SQL_NO_NULLS, 0, SQL_C_WCHAR}, "\"z\" minOccurs=\"1\" type=\"string\"/>"},
      {{"Z", SQL_TINYINT, 3, 0, SQL_NO_NULLS, 1, SQL_C_UTINYINT}, "\"Z\" minOccurs=\"1\" type=\"unsignedByte\"/>"},
      {{"a", SQL_SMALLINT, 5, 0, SQL_NO_NULLS, 0, SQL_C_SSHORT}, "\"a\" minOccurs=\"1\" type=\"short\"/>"},
      {{"`K", SQL_BIGINT, 19, 0, SQL_NO_NULLS, 0, SQL_C_SBIGINT}, "\"__K\" minOccurs=\"1\" type=\"long\"/>"},
      {{"[L", SQL_REAL, 7, 0, SQL_NO_NULLS, 0, SQL_C_FLOAT}, "\"__L\" minOccurs=\"1\" type=\"float\"/>"},
      {{"M", SQL_FLOAT, 15, 0, SQL_NO_NULLS, 0, SQL_C_DOUBLE}, "\"M\" minOccurs=\"1\" type=\"double\"/>"},
      {{"N", SQL_BIT, 1, 0, SQL_NO_NULLS, 0, SQL_C_BIT}, "\"N\" minOccurs=\"1\" type=\"boolean\"/>"},
      {{"O", SQL_TYPE_TIME, 8, 0, SQL_NO_NULLS, 0, SQL_C_TYPE_TIME}, "\"O\" minOccurs=\"1\" type=\"time\"/>"},
      {{"P", SQL_TIMESTAMP, 19, 0, SQL_NO_NULLS, 0, SQL_C_TIMESTAMP}, "\"P\" minOccurs=\"1\" type=\"timeInstant\"/>"},
      {{"9 x", SQL_DATE, 10, 0, SQL_NO_NULLS, 0, SQL_C_DATE}, "\"_9_x\" minOccurs=\"1\" type=\"date\"/>"}};
  std::vector<XML_PERSIST_COL_DESC> columns;
  for (const auto& row : rows) columns.push_back(row.column);
  XPstWriter* writer = XPstCreate(path("d.xml").c_str(), path("d.xsd").c_str(), nullptr);
  ASSERT_EQ(0u, XPstDescribeColumns(writer, columns.data(), uint16_t(columns.size())));
  ASSERT_EQ(0u, XPstClose(writer));
  XPstFree(writer);
  std::string schema = slurp(path("d.xsd"));
  for (const auto& row : rows) EXPECT_NE(std::string::npos, schema.find(row.declaration)) << row.declaration;
  EXPECT_TRUE(xmllintAccepts(path("d.xsd")));
  EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<table xmlns=\"urn:vxlib:xml-recordset:1\" "
            "xmlns:xsi=\"http://www.w3.org/1999/XMLSchema-instance\" "
            "xsi:schemaLocation=\"urn:vxlib:xml-recordset:1 d.xsd\">\n</table>\n",
            slurp(path("d.xml")));
}

// Every failure path files its error and leaves nothing in the directory
// (the last row's output path is a directory that was there before).
TEST_F(XmlWriterTest, FailedOrCancelledDocumentsLeaveNoFile) {
  XML_PERSIST_COL_DESC columns[] = {{"ID", SQL_INTEGER, 10, 0, SQL_NO_NULLS, 0, SQL_C_SLONG},
                                    {"N", SQL_VARCHAR, 9, 0, SQL_NO_NULLS, 0, SQL_C_CHAR},
                                    {"G", SQL_GUID, 36, 0, SQL_NO_NULLS, 0, SQL_C_CHAR}};
  int32_t id = 1;
  const void* values[] = {&id, "x", "y"};
  int64_t good[] = {0, SQL_NTS, 0}, bad[] = {0, -7, 0};
  // Each row: output, code page, the calls (true when each returned what
  // it should), the errors filed.
  struct {
    const char *out, *codePage;
    std::function<bool(XPstWriter*)> calls;
    std::vector<uint16_t> errors;
  } rows[] = {
      {"out.xml", "no-such-page", [&](XPstWriter* w) { return XPstClose(w) == 1; }, {2739}},
      {"no/out.xml", nullptr, [&](XPstWriter* w) { return XPstClose(w) == 1; }, {1509}},
      {"out.xml", nullptr, [&](XPstWriter* w) {
         return XPstAppendRowData(w, values, good) == 1 && XPstClose(w) == 1; }, {2709, 2709}},
      {"out.xml", nullptr, [&](XPstWriter* w) {
         return XPstDescribeColumns(w, columns, 2) == 0 && XPstAppendRowData(w, values, good) == 0 &&
                XPstAppendRowData(w, values, bad) == 1 && XPstCancel(w) == 0; }, {2709}},
      {"out.xml", nullptr, [&](XPstWriter* w) {
         return XPstDescribeColumns(w, columns, 2) == 0 && XPstAppendRowData(w, values, good) == 0; }, {}},
      {"dir.xml", nullptr, [&](XPstWriter* w) {
         return XPstDescribeColumns(w, columns, 3) == 1 && XPstAppendRowData(w, values, good) == 0 &&
                XPstClose(w) == 1; }, {1023, 30041}}};
  EXPECT_EQ(1u, XPstClose(nullptr));
  EXPECT_EQ(1u, XPstGetErrorMessage(nullptr, 0, nullptr, nullptr, 0));
  mkdir(path("dir.xml").c_str(), 0700);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.out);
    XPstWriter* writer = XPstCreate(path(row.out).c_str(), path("out.xsd").c_str(), row.codePage);
    EXPECT_TRUE(row.calls(writer));
    EXPECT_EQ(row.errors, errorNumbers(writer));
    XPstFree(writer);
    EXPECT_EQ(std::vector<std::string>{"dir.xml"}, files());
  }
  rmdir(path("dir.xml").c_str());
}

// A failing allocation at any point of a document either is absorbed or
// fails the document with its errors; a failed one leaves no file, a
// finished one is complete. One of the failures hits the schema, whose
// first column declaration then reports 1024 with its name.
TEST_F(XmlWriterTest, AllocationFailureAnywhereLeavesNoPartialDocument) {
  RowMaker maker("UTF-8", U"\u00e9", 5);
  bool lastSucceeded = false, declarationFailed = false;
  for (uint64_t n = 1; n < 400; ++n) {
    ramFailAllocationAfter(n);
    XPstWriter* writer = XPstCreate(path("f.xml").c_str(), nullptr, nullptr);
    if (writer == nullptr) continue;
    std::vector<Row> rows;
    uint16_t status = writeDocument(writer, maker, 3, 10, &rows);
    status |= XPstClose(writer);
    ramFailAllocationAfter(0);
    lastSucceeded = status == 0;
    std::vector<uint16_t> errors = errorNumbers(writer);
    bool outOfMemory = std::find(errors.begin(), errors.end(), 1503) != errors.end();
    EXPECT_EQ(status != 0, outOfMemory) << "failing allocation " << n;
    EXPECT_EQ(status != 0, !errors.empty()) << "failing allocation " << n;
    char text[256];
    for (uint16_t i = 0; i < errors.size(); ++i)
      if (errors[i] == 1024 && XPstGetErrorMessage(writer, i, nullptr, text, sizeof text) == 0)
        declarationFailed |= std::string(text).rfind(" ID") == strlen(text) - 3;
    XPstFree(writer);
    if (status != 0) {
      EXPECT_TRUE(files().empty()) << "failing allocation " << n;
    } else {
      EXPECT_EQ(3u, readRecords(path("f.xml")).size()) << "failing allocation " << n;
      unlink(path("f.xml").c_str());
    }
  }
  EXPECT_TRUE(lastSucceeded) << "the loop ends before the document's last allocation";
  EXPECT_TRUE(declarationFailed);
}

// When the error list cannot grow, its reader answers with the memory
// record right behind the records kept, and with nothing past it.
TEST_F(XmlWriterTest, AFullErrorListEndsWithTheMemoryRecord) {
  const void* values[] = {nullptr};
  int64_t lengths[] = {0};
  bool memoryRecordSeen = false;
  for (uint64_t n = 1; n <= 4; ++n) {
    XPstWriter* writer = XPstCreate(path("e.xml").c_str(), nullptr, nullptr);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(1u, XPstAppendRowData(writer, values, lengths));
    ramFailAllocationAfter(n);
    EXPECT_EQ(1u, XPstAppendRowData(writer, values, lengths));
    ramFailAllocationAfter(0);
    std::vector<uint16_t> errors = errorNumbers(writer);
    ASSERT_GE(errors.size(), 16u) << "failing allocation " << n;
    memoryRecordSeen |= errors.back() == 30190;
    EXPECT_EQ(1u, XPstGetErrorMessage(writer, uint16_t(errors.size() + 1), nullptr, nullptr, 0));
    XPstFree(writer);
  }
  EXPECT_TRUE(memoryRecordSeen);
}

// The writer's validity scan agrees with ICU's strict UTF-8 decoder on
// short strings of edge bytes, and never looks past the length it is
// given: the byte just after it would often complete a character.
TEST(XPstUtf8, ValidityAgreesWithIcuAndStaysWithinTheLength) {
  const unsigned char edges[] = {0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0,
                                 0xC1, 0xC2, 0xDF, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xF5};
  const unsigned seed = 20261123;
  std::mt19937 random(seed);
  for (int round = 0; round < 20000; ++round) {
    std::string bytes(2 + random() % 5, '\0');
    for (char& c : bytes) c = char(edges[random() % sizeof edges]);
    const int32_t n = int32_t(bytes.size()) - 1;
    UErrorCode status = U_ZERO_ERROR;
    int32_t units = 0;
    u_strFromUTF8(nullptr, 0, &units, bytes.data(), n, &status);
    ASSERT_EQ(status != U_INVALID_CHAR_FOUND, XPstIsValidUtf8(bytes.data(), VXSIZE_T(n)))
        << "seed " << seed << " round " << round;
  }
}

}  // namespace
