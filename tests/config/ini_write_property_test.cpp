// Property of writes: after any sequence of random set and delete calls on
// a random file, every key reads back as a simple model of the file says.
#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "config/vxini.h"
#include "ini_test_support.h"

namespace {

// The model: sections in file order, each with its keys in order. Names
// compare case-insensitively, as the file's do.
struct ModelSection {
  std::string name;
  std::vector<std::pair<std::string, std::string>> entries;
};

bool sameName(const std::string& a, const std::string& b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(),
                    [](char x, char y) { return tolower((unsigned char)x) == tolower((unsigned char)y); });
}

class Model {
 public:
  std::vector<ModelSection> sections;

  ModelSection* find(const std::string& name) {
    for (auto& section : sections) {
      if (sameName(section.name, name)) return &section;
    }
    return nullptr;
  }
  void set(const std::string& section, const std::string& key, const std::string& value) {
    ModelSection* found = find(section);
    if (!found) {
      sections.push_back({section, {{key, value}}});
      return;
    }
    for (auto& entry : found->entries) {
      if (sameName(entry.first, key)) {
        entry = {key, value};
        return;
      }
    }
    found->entries.push_back({key, value});
  }
  void removeKey(const std::string& section, const std::string& key) {
    ModelSection* found = find(section);
    if (!found) return;
    auto& entries = found->entries;
    auto at = std::find_if(entries.begin(), entries.end(),
                           [&](const auto& entry) { return sameName(entry.first, key); });
    if (at != entries.end()) entries.erase(at);
  }
  void removeSection(const std::string& section) {
    auto at = std::find_if(sections.begin(), sections.end(),
                           [&](const ModelSection& s) { return sameName(s.name, section); });
    if (at != sections.end()) sections.erase(at);
  }
  // The value the file should give, or "<none>".
  std::string get(const std::string& section, const std::string& key) {
    ModelSection* found = find(section);
    if (!found) return "<none>";
    for (const auto& entry : found->entries) {
      if (sameName(entry.first, key)) return entry.second;
    }
    return "<none>";
  }
};

class WritePropertyTest : public IniTest {
 protected:
  std::mt19937 random{12345};

  int pick(int n) { return int(random() % unsigned(n)); }

  std::string randomCase(const std::string& name) {
    std::string out = name;
    for (char& c : out) {
      if (pick(3) == 0) c = char(toupper((unsigned char)c));
    }
    return out;
  }
  std::string sectionName() { return randomCase(kSections[pick(4)]); }
  std::string keyName() { return randomCase(kKeys[pick(6)]); }

  // A value the format can hold: no "[" or line end, not starting with a
  // blank, tab or "="; "=", "]", ";" and trailing blanks are fine.
  std::string valueText() {
    static const char kChars[] = "abcXYZ019=];#/. _-";
    std::string out;
    int length = pick(12);
    for (int i = 0; i < length; ++i) out += kChars[pick(int(sizeof kChars) - 1)];
    while (!out.empty() && (out[0] == ' ' || out[0] == '=')) out.erase(0, 1);
    if (!out.empty() && pick(4) == 0) out += "  ";
    return out;
  }

  // A file of the model's contents in varied layouts: blanks around "=",
  // indentation, comments, empty lines, no final line end.
  std::string render(const Model& model) {
    std::string out;
    if (pick(3) == 0) out += "; leading comment\n";
    for (const auto& section : model.sections) {
      out += "[" + section.name + "]\n";
      for (const auto& entry : section.entries) {
        if (pick(5) == 0) out += pick(2) ? "# note=1\n" : "\n";
        out += std::string(size_t(pick(3)), pick(2) ? ' ' : '\t') + entry.first;
        static const char* kSeparators[] = {"=", " = ", "\t=", "==", " "};
        out += kSeparators[pick(entry.second.empty() ? 4 : 5)] + entry.second + "\n";
      }
    }
    if (!out.empty() && pick(4) == 0) out.pop_back();
    return out;
  }

  Model randomModel() {
    Model model;
    int sections = pick(4);
    for (int s = 0; s < sections; ++s) {
      std::string name = kSections[s];
      model.sections.push_back({name, {}});
      int keys = pick(5);
      for (int k = 0; k < keys; ++k) {
        if (!model.get(name, kKeys[k]).compare("<none>")) model.set(name, kKeys[k], valueText());
      }
    }
    return model;
  }

  void expectModel(Model& model, const std::string& file, const std::string& context) {
    for (const char* section : kSections) {
      for (const char* key : kKeys) {
        char buffer[64];
        GetPrivateProfileString(section, key, "<none>", buffer, sizeof buffer, file.c_str());
        ASSERT_EQ(model.get(section, key), buffer)
            << context << " [" << section << "] " << key << "\nfile:\n" << readFile(file);
      }
    }
  }

  static constexpr const char* kSections[4] = {"alpha", "Beta", "gamma dsn", "d"};
  static constexpr const char* kKeys[6] = {"Driver", "server", "Port", "k", "Trace", "UID"};
};

TEST_F(WritePropertyTest, RandomSetsAndDeletesReadBackAsTheModelSays) {
  for (int trial = 0; trial < 150; ++trial) {
    Model model = randomModel();
    std::string file = writeFile("p" + std::to_string(trial) + ".ini", render(model));
    expectModel(model, file, "initial");
    int steps = 1 + pick(12);
    std::string history;
    for (int step = 0; step < steps; ++step) {
      std::string section = sectionName();
      int kind = pick(10);
      int32_t written;
      if (kind < 6) {
        std::string key = keyName(), value = valueText();
        history += "set [" + section + "] " + key + "=" + value + "\n";
        model.set(section, key, value);
        written = vxWritePrivateProfileString(section.c_str(), key.c_str(), value.c_str(), file.c_str());
      } else if (kind < 9) {
        std::string key = keyName();
        history += "delete [" + section + "] " + key + "\n";
        model.removeKey(section, key);
        written = vxWritePrivateProfileString(section.c_str(), key.c_str(), nullptr, file.c_str());
      } else {
        history += "delete [" + section + "]\n";
        model.removeSection(section);
        written = vxWritePrivateProfileString(section.c_str(), nullptr, nullptr, file.c_str());
      }
      ASSERT_EQ(1, written) << history;
      expectModel(model, file, "trial " + std::to_string(trial) + " after\n" + history);
    }
  }
}

}  // namespace
