// vxtool xml run as a child process: the documents it writes, and for each
// kind of bad input its message, its exit status and no file left behind.
#include <dirent.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "tool_scratch.h"

namespace {

class VxtoolXml : public vxtest::ToolScratch {
 protected:
  // Writes the CSV as t.csv, runs "vxtool xml ARGS t.csv" and returns the
  // exit status; standard output and error stay in "out" and "err".
  int run(const std::string& csv, const std::string& args) {
    write("t.csv", csv);
    return tool("xml " + args + " t.csv").status;
  }
  // Files of the directory other than the CSV and the streams.
  std::string documents() {
    std::string names;
    DIR* d = opendir(dir.c_str());
    for (dirent* e; (e = readdir(d)) != nullptr;) {
      std::string name = e->d_name;
      if (name != "." && name != ".." && name != "t.csv" && name != "in" && name != "out" && name != "err")
        names += name + " ";
    }
    closedir(d);
    return names;
  }
  bool lint(const std::string& name) {
    return system(("xmllint --noout " + dir + "/" + name + " 2>/dev/null").c_str()) == 0;
  }
};

const char kHeader[] = "ID INTEGER,NAME VARCHAR(5) NULL,AMOUNT DECIMAL(6,2),QTY TINYINT UNSIGNED\n";

TEST_F(VxtoolXml, WritesBothShapesAndStandardOutput) {
  std::string csv = std::string(kHeader) + "1,\"a,\"\"b\"\"\",12.50,255\r\n2,\\N,-0.5,0\n3,\"\\N\",1,7";
  ASSERT_EQ(0, run(csv, "-o " + dir + "/o.xml"));
  EXPECT_TRUE(lint("o.xml"));
  std::string doc = read("o.xml");
  EXPECT_NE(std::string::npos, doc.find("<NAME>a,&quot;b&quot;</NAME>"));
  EXPECT_NE(std::string::npos, doc.find("<ID>2</ID>\n        <AMOUNT>-0.5</AMOUNT>"));
  EXPECT_NE(std::string::npos, doc.find("<NAME>\\N</NAME>"));
  ASSERT_EQ(0, run(csv, "--schema-file " + dir + "/s.xsd -o " + dir + "/d.xml"));
  EXPECT_TRUE(lint("s.xsd") && lint("d.xml"));
  EXPECT_NE(std::string::npos, read("d.xml").find("xsi:schemaLocation=\"urn:vxlib:xml-recordset:1 s.xsd\""));
  ASSERT_EQ(0, run(csv, ""));
  EXPECT_EQ(doc.substr(0, 300).replace(doc.find(" o.xml"), 6, " t.xml"), read("out").substr(0, 300));
  EXPECT_EQ("", read("err"));
}

// Each row: the CSV after the header (or a whole bad header), the message.
TEST_F(VxtoolXml, BadInputNamesTheLineAndLeavesNoDocument) {
  struct { std::string csv, message; } rows[] = {
      {"ID INTEGR\n1\n", "line 1: bad column description \"ID INTEGR\""},
      {"ID CHAR\n1\n", "line 1: bad column description \"ID CHAR\""},
      {std::string(kHeader) + "1,a,1,1\n2,b,2\n", "line 3: 3 fields, but the header has 4"},
      {std::string(kHeader) + "1,a,1,256\n", "line 2: \"256\" does not fit TINYINT column QTY"},
      {std::string(kHeader) + "1,abcdef,1,1\n", "line 2: \"abcdef\" does not fit VARCHAR(5) column NAME"},
      {std::string(kHeader) + "1,\"x\ny\",12345.5,1\n", "line 2: \"12345.5\" does not fit DECIMAL(6,2)"},
      {std::string(kHeader) + "1,\"x\ny\",1,1\n\\N,a,1,1\n", "line 4: NULL in column ID"},
      {std::string(kHeader) + "1,a\"b,1,1\n", "line 2: a quote inside an unquoted field"},
      {std::string(kHeader) + "1,\"ab,1,1\n", "line 2: a quoted field is not closed"},
      {"D DATE,T TIMESTAMP\n2023-02-29,2023-01-01 00:00:00\n", "line 2: \"2023-02-29\" does not fit DATE"},
      {"D DATE,T TIMESTAMP\n2024-02-29,2023-01-01 24:00:00\n", "line 2: \"2023-01-01 24:00:00\" does not fit TIMESTAMP column T"},
      {"", "line 1: the file has no header"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.csv);
    EXPECT_EQ(1, run(row.csv, "-o " + dir + "/o.xml --schema-file " + dir + "/s.xsd"));
    EXPECT_NE(std::string::npos, read("err").find("vxtool xml: " + row.message)) << read("err");
    EXPECT_EQ("", documents());
    unlink((dir + "/o.xml").c_str());
    unlink((dir + "/s.xsd").c_str());
    EXPECT_EQ(1, run(row.csv, ""));
    EXPECT_EQ("", read("out"));
  }
  EXPECT_EQ(2, run("", "-o"));
}

}  // namespace
