// Shared set-up of the XML writer tests: a scratch directory, reading a
// document back with libxml2 and checking it with xmllint.
#ifndef VX_TESTS_XML_XML_SUPPORT_H_
#define VX_TESTS_XML_XML_SUPPORT_H_

#include <dirent.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sqlext.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "xml/XPst.h"

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

#endif  // VX_TESTS_XML_XML_SUPPORT_H_
