// The XML writer against libxml2's xmlTextWriter: both write the same
// 100,000-row, 10-column result set (schema inline, then the records) to a
// file. The libxml2 side builds the same elements, attributes and value
// texts through xmlTextWriterStartElement / WriteAttribute /
// WriteElement, which escape as they write. Before timing, both documents
// are parsed back and must hold the same records. After the table it
// prints rows/s, MB/s and vxlib's time divided by libxml2's (below 1 means
// vxlib is faster).
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlwriter.h>
#include <sqlext.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "ratio_reporter.h"
#include "xml/XPst.h"
#include "xml/XPstConvert.h"

namespace {

constexpr int kRows = 100000;
constexpr int kColumns = 10;

const XML_PERSIST_COL_DESC kDescs[kColumns] = {
    {"ID", SQL_INTEGER, 10, 0, SQL_NO_NULLS, 0, SQL_C_SLONG},
    {"NAME", SQL_VARCHAR, 30, 0, SQL_NO_NULLS, 0, SQL_C_CHAR},
    {"CITY", SQL_VARCHAR, 20, 0, SQL_NULLABLE, 0, SQL_C_CHAR},
    {"AMOUNT", SQL_DECIMAL, 12, 2, SQL_NO_NULLS, 0, SQL_C_CHAR},
    {"QTY", SQL_SMALLINT, 5, 0, SQL_NO_NULLS, 0, SQL_C_SSHORT},
    {"PRICE", SQL_DOUBLE, 15, 0, SQL_NO_NULLS, 0, SQL_C_DOUBLE},
    {"DAY", SQL_TYPE_DATE, 10, 0, SQL_NO_NULLS, 0, SQL_C_TYPE_DATE},
    {"AT", SQL_TYPE_TIMESTAMP, 19, 0, SQL_NO_NULLS, 0, SQL_C_TYPE_TIMESTAMP},
    {"PAID", SQL_BIT, 1, 0, SQL_NO_NULLS, 0, SQL_C_BIT},
    {"NOTE", SQL_VARCHAR, 60, 0, SQL_NULLABLE, 0, SQL_C_CHAR}};

struct Row {
  int32_t id;
  std::string name, city, amount, note;
  int16_t qty;
  double price;
  DATE_STRUCT day;
  TIMESTAMP_STRUCT at;
  unsigned char paid;
  bool cityNull, noteNull;
};

std::string word(std::mt19937& rng, size_t n) {
  static const char kLetters[] = "abcdefghijklmnopqrstuvwxyz ABCDEFGHIJ&<>'\"0123456789";
  std::string s;
  for (size_t k = 0; k < n; ++k) s += kLetters[rng() % (k % 9 == 0 ? sizeof kLetters - 1 : 26)];
  return s;
}

const std::vector<Row>& rows() {
  static std::vector<Row> data = [] {
    std::mt19937 rng(42);
    std::vector<Row> out(kRows);
    for (int i = 0; i < kRows; ++i) {
      Row& r = out[size_t(i)];
      r.id = i;
      r.name = word(rng, 5 + rng() % 25);
      r.city = word(rng, 4 + rng() % 16);
      r.amount = std::to_string(rng() % 1000000) + "." + std::to_string(10 + rng() % 90);
      r.note = word(rng, rng() % 60);
      r.qty = int16_t(rng() % 1000);
      r.price = double(rng() % 100000) / 100;
      r.day = DATE_STRUCT{SQLSMALLINT(2000 + rng() % 25), SQLUSMALLINT(1 + rng() % 12),
                          SQLUSMALLINT(1 + rng() % 28)};
      r.at = TIMESTAMP_STRUCT{2024, 5, SQLUSMALLINT(1 + rng() % 28), SQLUSMALLINT(rng() % 24),
                              SQLUSMALLINT(rng() % 60), SQLUSMALLINT(rng() % 60), 0};
      r.paid = rng() % 2;
      r.cityNull = rng() % 10 == 0;
      r.noteNull = rng() % 3 == 0;
    }
    return out;
  }();
  return data;
}

std::string path(const char* side) { return "/tmp/xml_bench_" + std::to_string(getpid()) + side; }

void writeVx(const std::string& file) {
  XPstWriter* writer = XPstCreate(file.c_str(), nullptr, nullptr);
  if (XPstDescribeColumns(writer, kDescs, kColumns) != 0) abort();
  for (const Row& r : rows()) {
    const void* values[kColumns] = {&r.id,    r.name.c_str(), r.city.c_str(), r.amount.c_str(),
                                    &r.qty,   &r.price,       &r.day,         &r.at,
                                    &r.paid,  r.note.c_str()};
    int64_t lengths[kColumns] = {0, int64_t(r.name.size()), r.cityNull ? SQL_NULL_DATA : SQL_NTS,
                                 SQL_NTS, 0, 0, 0, 0, 0,
                                 r.noteNull ? SQL_NULL_DATA : int64_t(r.note.size())};
    if (XPstAppendRowData(writer, values, lengths) != 0) abort();
  }
  if (XPstClose(writer) != 0) abort();
  XPstFree(writer);
}

// The libxml2 side: the same schema elements and record texts.
void element(xmlTextWriterPtr w, const char* name,
             std::initializer_list<std::pair<const char*, const char*>> attributes, bool close) {
  xmlTextWriterStartElement(w, BAD_CAST name);
  for (const auto& a : attributes) xmlTextWriterWriteAttribute(w, BAD_CAST a.first, BAD_CAST a.second);
  if (close) xmlTextWriterEndElement(w);
}

void writeLibxml2(const std::string& file) {
  const char* ns = XPST_RECORDSET_NAMESPACE;
  xmlTextWriterPtr w = xmlNewTextWriterFilename(file.c_str(), 0);
  xmlTextWriterSetIndent(w, 1);
  xmlTextWriterStartDocument(w, "1.0", "UTF-8", nullptr);
  element(w, "table", {{"xmlns", "http://www.w3.org/1999/XMLSchema"},
                       {"xmlns:xsi", "http://www.w3.org/1999/XMLSchema-instance"}, {"xmlns:rs", ns},
                       {"targetNamespace", ns}, {"xsi:schemaLocation", "urn:vxlib:xml-recordset:1 x"}},
          false);
  element(w, "schema", {{"elementFormDefault", "qualified"}, {"attributeFormDefault", "qualified"}},
          false);
  element(w, "element", {{"name", "table"}, {"type", "rs:tableType"}}, true);
  element(w, "complexType", {{"name", "tableType"}}, false);
  element(w, "element", {{"ref", "schema"}}, true);
  element(w, "element", {{"name", "data"}, {"type", "rs:dataType"}}, true);
  xmlTextWriterEndElement(w);
  element(w, "complexType", {{"name", "dataType"}}, false);
  element(w, "element", {{"name", "record"}, {"minOccurs", "0"}, {"maxOccurs", "unbounded"},
                         {"type", "rs:recordType"}}, true);
  xmlTextWriterEndElement(w);
  element(w, "complexType", {{"name", "recordType"}}, false);
  static const char* const kTypes[kColumns] = {"int", nullptr, nullptr, nullptr, "short",
                                               "double", "date", "timeInstant", "boolean", nullptr};
  for (int c = 0; c < kColumns; ++c) {
    const char* minOccurs = kDescs[c].nullable ? "0" : "1";
    if (kTypes[c] != nullptr) {
      element(w, "element", {{"name", kDescs[c].name}, {"minOccurs", minOccurs}, {"type", kTypes[c]}}, true);
      continue;
    }
    bool decimal = kDescs[c].sqlType == SQL_DECIMAL;
    std::string size = std::to_string(kDescs[c].columnSize), scale = std::to_string(kDescs[c].decimalDigits);
    element(w, "element", {{"name", kDescs[c].name}, {"minOccurs", minOccurs}}, false);
    element(w, "simpleType", {{"base", decimal ? "decimal" : "string"}}, false);
    element(w, decimal ? "precision" : "maxLength", {{"value", size.c_str()}}, true);
    if (decimal) element(w, "scale", {{"value", scale.c_str()}}, true);
    xmlTextWriterEndElement(w);
    xmlTextWriterEndElement(w);
  }
  xmlTextWriterEndElement(w);
  xmlTextWriterEndElement(w);
  xmlTextWriterStartElement(w, BAD_CAST "data");
  char text[64];
  for (const Row& r : rows()) {
    xmlTextWriterStartElement(w, BAD_CAST "record");
    snprintf(text, sizeof text, "%d", r.id);
    xmlTextWriterWriteElement(w, BAD_CAST "ID", BAD_CAST text);
    xmlTextWriterWriteElement(w, BAD_CAST "NAME", BAD_CAST r.name.c_str());
    if (!r.cityNull) xmlTextWriterWriteElement(w, BAD_CAST "CITY", BAD_CAST r.city.c_str());
    xmlTextWriterWriteElement(w, BAD_CAST "AMOUNT", BAD_CAST r.amount.c_str());
    snprintf(text, sizeof text, "%d", r.qty);
    xmlTextWriterWriteElement(w, BAD_CAST "QTY", BAD_CAST text);
    text[XPstFormatDouble(text, r.price)] = 0;
    xmlTextWriterWriteElement(w, BAD_CAST "PRICE", BAD_CAST text);
    snprintf(text, sizeof text, "%04d-%02d-%02d", r.day.year, r.day.month, r.day.day);
    xmlTextWriterWriteElement(w, BAD_CAST "DAY", BAD_CAST text);
    snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", r.at.year, r.at.month, r.at.day,
             r.at.hour, r.at.minute, r.at.second);
    xmlTextWriterWriteElement(w, BAD_CAST "AT", BAD_CAST text);
    xmlTextWriterWriteElement(w, BAD_CAST "PAID", BAD_CAST(r.paid ? "true" : "false"));
    if (!r.noteNull) xmlTextWriterWriteElement(w, BAD_CAST "NOTE", BAD_CAST r.note.c_str());
    xmlTextWriterEndElement(w);
  }
  xmlTextWriterEndDocument(w);
  xmlFreeTextWriter(w);
}

// The records of a document as one text: every value element's name and
// content, in order.
std::string recordsOf(const std::string& file) {
  xmlDocPtr doc = xmlReadFile(file.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_HUGE);
  if (doc == nullptr) return "";
  std::string out;
  xmlNodePtr data = xmlDocGetRootElement(doc)->last;
  while (data != nullptr && data->type != XML_ELEMENT_NODE) data = data->prev;
  for (xmlNodePtr r = data->children; r != nullptr; r = r->next)
    for (xmlNodePtr v = r->children; v != nullptr; v = v->next) {
      if (v->type != XML_ELEMENT_NODE) continue;
      xmlChar* text = xmlNodeGetContent(v);
      out += std::string(reinterpret_cast<const char*>(v->name)) + "=" +
             reinterpret_cast<const char*>(text) + "\n";
      xmlFree(text);
    }
  xmlFreeDoc(doc);
  return out;
}

size_t bytesOf(const std::string& file) {
  struct stat s;
  return stat(file.c_str(), &s) == 0 ? size_t(s.st_size) : 0;
}

void runSide(benchmark::State& state, bool vx) {
  const std::string file = path(vx ? "_vx.xml" : "_libxml2.xml");
  for (auto _ : state) {
    unlink(file.c_str());
    vx ? writeVx(file) : writeLibxml2(file);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytesOf(file)));
  state.SetItemsProcessed(int64_t(state.iterations()) * kRows);
  unlink(file.c_str());
}

void printRatio(const RunTimes& times) {
  if (!times.has("write/vx") || !times.has("write/libxml2")) return;
  printf("\n%-10s %10s %12s %10s\n", "writer", "ms", "rows/s", "MB/s");
  for (const char* side : {"vx", "libxml2"}) {
    double ns = times.at(std::string("write/") + side);
    double bytes = double(bytesOf(path(side == std::string("vx") ? "_vx.check" : "_libxml2.check")));
    printf("%-10s %10.1f %12.0f %10.1f\n", side, ns / 1e6, kRows / (ns / 1e9),
           bytes / (ns / 1e9) / 1e6);
  }
  printf("vx/libxml2 time: %.2f\n", times.at("write/vx") / times.at("write/libxml2"));
}

}  // namespace

int main(int argc, char** argv) {
  XPstInit();
  // Both must write the same records, or the comparison is void. The two
  // checked documents stay until the end for their sizes.
  writeVx(path("_vx.check"));
  writeLibxml2(path("_libxml2.check"));
  std::string vxRecords = recordsOf(path("_vx.check"));
  if (vxRecords.empty() || vxRecords != recordsOf(path("_libxml2.check"))) {
    fprintf(stderr, "the two documents hold different records\n");
    return 1;
  }
  benchmark::RegisterBenchmark("write/vx", [](benchmark::State& s) { runSide(s, true); })
      ->UseRealTime();
  benchmark::RegisterBenchmark("write/libxml2", [](benchmark::State& s) { runSide(s, false); })
      ->UseRealTime();
  runAndPrint(&argc, argv, RunTimes::kRealTime, printRatio);
  unlink(path("_vx.check").c_str());
  unlink(path("_libxml2.check").c_str());
  XPstTerminate();
  return 0;
}
