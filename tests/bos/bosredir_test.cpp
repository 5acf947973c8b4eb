// Redirection of the configuration files in a scratch home directory, with
// the environment variables set and unset in every combination.
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bosfile_test_support.h"

namespace {

const uint32_t kResolveOnly = BOS_OPEN_REDIRECT | BOS_OPEN_NO_OPEN;

class Redirection : public FileLayerTest {
 protected:
  void SetUp() override {
    FileLayerTest::SetUp();
    home = makeDir("home");
    setEnv("HOME", home);
  }

  // Resolves name with modes 0x300; the resolved name, or "FAIL <error>".
  std::string resolve(const std::string& name) {
    PathBuffer buffer(name);
    int handle = -1;
    if (bosFileOpen(buffer, kResolveOnly, &handle) != 0) {
      return "FAIL " + std::to_string(lastError());
    }
    EXPECT_EQ(0, handle);
    return buffer.str();
  }

  std::string home;
};

// The two ODBC files: the first variable of the pair that is set wins
// outright; the file chosen must exist.
struct OdbcKind {
  std::vector<std::string> names;
  const char* first;
  const char* second;
};

const OdbcKind kOdbcKinds[] = {
    {{"odbc.ini", ".odbc.ini", "ODBC.INI", ".ODBC.INI", "Odbc.Ini"}, "ODBCINI", "ODBC_INI"},
    {{"odbcinst.ini", ".odbcinst.ini", "ODBCINST.INI", ".OdbcInst.ini"}, "ODBCINST", "ODBCINSTINI"},
};

TEST_F(Redirection, OdbcFilesInEveryCombinationOfTheirVariables) {
  for (const OdbcKind& kind : kOdbcKinds) {
    for (const std::string& name : kind.names) {
      std::string homeFile = home + "/" + name;
      std::string firstFile = at(std::string(kind.first) + ".target");
      std::string secondFile = at(std::string(kind.second) + ".target");
      for (int homeExists = 0; homeExists < 2; ++homeExists) {
        for (int firstState = 0; firstState < 3; ++firstState) {     // unset, missing, present
          for (int secondState = 0; secondState < 3; ++secondState) {
            SCOPED_TRACE(name + " home=" + std::to_string(homeExists) + " first=" +
                         std::to_string(firstState) + " second=" + std::to_string(secondState));
            unlink(homeFile.c_str());
            unlink(firstFile.c_str());
            unlink(secondFile.c_str());
            if (homeExists) makeFile("home/" + name);
            if (firstState == 2) makeFile(std::string(kind.first) + ".target");
            if (secondState == 2) makeFile(std::string(kind.second) + ".target");
            if (firstState) setEnv(kind.first, firstFile); else unsetEnv(kind.first);
            if (secondState) setEnv(kind.second, secondFile); else unsetEnv(kind.second);

            std::string expected;
            bool exists;
            if (firstState) {
              expected = firstFile;
              exists = firstState == 2;
            } else if (secondState) {
              expected = secondFile;
              exists = secondState == 2;
            } else {
              expected = homeFile;
              exists = homeExists != 0;
            }
            errors.list.clearErrors();
            EXPECT_EQ(exists ? expected : "FAIL 1509", resolve(name));
          }
        }
      }
      unsetEnv(kind.first);
      unsetEnv(kind.second);
    }
  }
}

TEST_F(Redirection, DeliberateOdbcVariableBeatsAnExistingHomeFileEvenWhenItsFileIsMissing) {
  makeFile("home/.odbc.ini");
  makeFile("elsewhere.ini");
  setEnv("ODBCINI", at("missing.ini"));
  setEnv("ODBC_INI", at("elsewhere.ini"));
  EXPECT_EQ("FAIL 1509", resolve(".odbc.ini"));
  PathBuffer buffer(".odbc.ini");
  int handle = -1;
  EXPECT_EQ(1, bosFileOpen(buffer, BOS_OPEN_REDIRECT, &handle));
  EXPECT_EQ(-1, handle);
}

// The library's own two files: the home file wins; the variable is used,
// unchecked, only when there is none.
struct OwnKind {
  const char* name;
  const char* variable;
};

const OwnKind kOwnKinds[] = {{".vxlib.ini", "VXLIB_INI"}, {".system.defaults", "VX_SYSTEM_INI"}};

TEST_F(Redirection, OwnFilesInEveryCombinationOfTheirVariable) {
  for (const OwnKind& kind : kOwnKinds) {
    std::string homeFile = home + "/" + kind.name;
    std::string target = at("own.target");
    for (int homeExists = 0; homeExists < 2; ++homeExists) {
      for (int variableState = 0; variableState < 3; ++variableState) {  // unset, missing, present
        SCOPED_TRACE(std::string(kind.name) + " home=" + std::to_string(homeExists) +
                     " variable=" + std::to_string(variableState));
        unlink(homeFile.c_str());
        unlink(target.c_str());
        if (homeExists) makeFile(std::string("home/") + kind.name);
        if (variableState == 2) makeFile("own.target");
        if (variableState) setEnv(kind.variable, target); else unsetEnv(kind.variable);
        std::string expected = (!homeExists && variableState) ? target : homeFile;
        EXPECT_EQ(expected, resolve(kind.name));
      }
    }
    unsetEnv(kind.variable);
  }
}

TEST_F(Redirection, DeliberateHomeFileBeatsTheLibraryVariables) {
  makeFile("home/.vxlib.ini");
  makeFile("home/.system.defaults");
  makeFile("other.ini");
  setEnv("VXLIB_INI", at("other.ini"));
  setEnv("VX_SYSTEM_INI", at("other.ini"));
  EXPECT_EQ(home + "/.vxlib.ini", resolve(".vxlib.ini"));
  EXPECT_EQ(home + "/.system.defaults", resolve(".system.defaults"));
}

// The library's variable is used unchecked; names in another case, and
// other names, are not redirected.
TEST_F(Redirection, OnlyTheExactNamesAreRedirected) {
  setEnv("VXLIB_INI", at("nowhere/at/all.ini"));
  EXPECT_EQ(at("nowhere/at/all.ini"), resolve(".vxlib.ini"));
  makeFile("home/.vxlib.ini");
  setEnv("VXLIB_INI", at("other.ini"));
  setEnv("VX_SYSTEM_INI", at("other.ini"));
  setEnv("ODBCINI", at("x.ini"));
  for (const char* name : {".VXLIB.INI", ".Vxlib.ini", ".SYSTEM.DEFAULTS", "vxlib.ini", "my.ini",
                           "/etc/odbc.ini", "odbc.ini.bak"}) {
    EXPECT_EQ(name, resolve(name));
  }
}

TEST_F(Redirection, OtherCaseOfLibraryFileOpensTheNameUnchanged) {
  ASSERT_EQ(0, chdir(dir.c_str()));
  makeFile(".VXLIB.INI", "local");
  makeFile("home/.vxlib.ini", "home");
  PathBuffer buffer(".VXLIB.INI");
  int handle = -1;
  ASSERT_EQ(0, bosFileOpen(buffer, BOS_OPEN_REDIRECT, &handle));
  EXPECT_EQ("local", readAll(handle));
  EXPECT_STREQ(".VXLIB.INI", buffer.text);
  bosFileClose(handle);
}

TEST_F(Redirection, WithoutHomeTheNameIsUsedRelativeToTheWorkingDirectory) {
  unsetEnv("HOME");
  ASSERT_EQ(0, chdir(dir.c_str()));
  EXPECT_EQ("FAIL 1509", resolve("odbc.ini"));
  makeFile("odbc.ini");
  EXPECT_EQ("odbc.ini", resolve("odbc.ini"));
  EXPECT_EQ(".vxlib.ini", resolve(".vxlib.ini"));
  setEnv("VXLIB_INI", at("v.ini"));
  EXPECT_EQ(at("v.ini"), resolve(".vxlib.ini"));
}

TEST_F(Redirection, RedirectedOpenReadsTheFileTheVariableNames) {
  makeFile("home/.odbc.ini", "home");
  makeFile("chosen.ini", "chosen");
  setEnv("ODBCINI", at("chosen.ini"));
  PathBuffer buffer(".odbc.ini");
  int handle = -1;
  ASSERT_EQ(0, bosFileOpen(buffer, BOS_OPEN_REDIRECT | BOS_OPEN_READ_WRITE, &handle));
  EXPECT_EQ(at("chosen.ini"), buffer.str());
  char text[16] = {};
  int32_t count = 0;
  bosFileRead(handle, 0, text, sizeof text - 1, &count);
  EXPECT_EQ(6, count);
  EXPECT_STREQ("chosen", text);
  EXPECT_EQ(0, bosFileClose(handle));
}

TEST_F(Redirection, HomeRelativeModeWithoutRedirectionDoesNotRewriteTheName) {
  makeFile("home/plain.ini", "plain");
  PathBuffer buffer("plain.ini");
  int handle = -1;
  ASSERT_EQ(0, bosFileOpen(buffer, BOS_OPEN_HOME_RELATIVE, &handle));
  EXPECT_STREQ("plain.ini", buffer.text);
  bosFileClose(handle);
}

TEST_F(Redirection, MissingFileWithoutErrorListFailsSilently) {
  VxErrorKeeper::giveUpErrorList();
  PathBuffer buffer("odbc.ini");
  int handle = -1;
  EXPECT_EQ(1, bosFileOpen(buffer, kResolveOnly, &handle));
  VxErrorKeeper::setErrorList(&errors.list);
  EXPECT_EQ(0u, errors.list.getCount());
}

}  // namespace
