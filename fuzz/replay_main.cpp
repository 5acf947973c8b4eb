// Runs a fuzz target without libFuzzer, so that its oracle judges a fixed
// set of inputs in every ordinary test run.
//
//   NAME_replay CORPUS COUNT [SEED]   every file of the folder CORPUS, then
//                                     COUNT generated inputs
//   NAME_replay FILE                  one input, to replay a failure
//
// The generated inputs come from a fixed-seed generator, so every run
// checks the same cases: mostly corpus files changed the way a fuzzer
// changes them (bytes flipped, inserted, deleted, a piece of another file
// spliced in), and some plain random bytes. A target reports a broken
// promise by aborting; the handler below then prints the seed, the step
// and the input in hex before the process dies.
#include <dirent.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

using Bytes = std::vector<uint8_t>;

// What the abort handler prints: the input under test and where it came from.
const Bytes* current = nullptr;
unsigned long currentSeed = 0;
long currentStep = -1;

void writeText(const char* s) {
  ssize_t ignored = write(2, s, std::char_traits<char>::length(s));
  (void)ignored;
}

void reportAndDie(int sig) {
  char line[96];
  snprintf(line, sizeof line, "\nreplay: failed at seed %lu, step %ld; input (%zu bytes):\n",
           currentSeed, currentStep, current ? current->size() : 0);
  writeText(line);
  if (current) {
    static const char kHex[] = "0123456789abcdef";
    for (uint8_t b : *current) {
      char pair[2] = {kHex[b >> 4], kHex[b & 15]};
      ssize_t ignored = write(2, pair, 2);
      (void)ignored;
    }
    writeText("\n");
  }
  signal(sig, SIG_DFL);
  raise(sig);
}

void runOne(const Bytes& input) {
  current = &input;
  // Copy into a buffer of exactly the input's size, so that a target
  // reading past its input is caught by the sanitizers.
  std::unique_ptr<uint8_t[]> exact(new uint8_t[input.size() ? input.size() : 1]);
  std::copy(input.begin(), input.end(), exact.get());
  LLVMFuzzerTestOneInput(exact.get(), input.size());
  current = nullptr;
}

bool readFile(const std::string& path, Bytes* out) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  out->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return true;
}

std::vector<Bytes> readCorpus(const std::string& dir) {
  std::vector<std::string> names;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d)) {
      if (e->d_name[0] != '.') names.push_back(e->d_name);
    }
    closedir(d);
  }
  std::sort(names.begin(), names.end());  // the same order on every machine
  std::vector<Bytes> corpus;
  for (const std::string& name : names) {
    Bytes b;
    if (readFile(dir + "/" + name, &b)) corpus.push_back(std::move(b));
  }
  return corpus;
}

// One to four small changes of a corpus file, or fresh random bytes.
Bytes generate(const std::vector<Bytes>& corpus, std::mt19937& rng) {
  auto below = [&rng](size_t n) { return n ? static_cast<size_t>(rng() % n) : 0; };
  auto randomBytes = [&](size_t n) {
    Bytes b(n);
    for (uint8_t& c : b) c = static_cast<uint8_t>(rng());
    return b;
  };
  if (corpus.empty() || below(8) == 0) return randomBytes(below(96));
  Bytes b = corpus[below(corpus.size())];
  for (int changes = 1 + static_cast<int>(below(4)); changes > 0; --changes) {
    switch (below(5)) {
      case 0:  // flip one bit
        if (!b.empty()) b[below(b.size())] ^= static_cast<uint8_t>(1u << below(8));
        break;
      case 1:  // overwrite a byte, often with a byte that means something
        if (!b.empty()) {
          static const char kInteresting[] = "\0 \t\r\n%_\\\"'[]=;#-+0123456789aZ\xff\xc3";
          b[below(b.size())] = below(2) ? static_cast<uint8_t>(rng())
                                        : static_cast<uint8_t>(kInteresting[below(sizeof kInteresting - 1)]);
        }
        break;
      case 2: {  // insert a few random bytes
        Bytes add = randomBytes(1 + below(4));
        b.insert(b.begin() + below(b.size() + 1), add.begin(), add.end());
        break;
      }
      case 3:  // delete a short range
        if (!b.empty()) {
          size_t at = below(b.size());
          b.erase(b.begin() + at, b.begin() + std::min(b.size(), at + 1 + below(8)));
        }
        break;
      default: {  // splice in a piece of another corpus file
        const Bytes& other = corpus[below(corpus.size())];
        if (other.empty()) break;
        size_t from = below(other.size());
        size_t len = 1 + below(other.size() - from);
        b.insert(b.begin() + below(b.size() + 1), other.begin() + from, other.begin() + from + len);
        break;
      }
    }
  }
  return b;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: %s CORPUS_DIR COUNT [SEED] | %s FILE\n", argv[0], argv[0]);
    return 2;
  }
  signal(SIGABRT, reportAndDie);
  signal(SIGSEGV, reportAndDie);
  if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&argc, &argv);

  Bytes single;
  if (argc == 2 && readFile(argv[1], &single)) {
    runOne(single);
    printf("replayed %s\n", argv[1]);
    return 0;
  }
  std::vector<Bytes> corpus = readCorpus(argv[1]);
  long count = argc > 2 ? atol(argv[2]) : 1000;
  currentSeed = argc > 3 ? strtoul(argv[3], nullptr, 10) : 20261123;

  for (const Bytes& input : corpus) runOne(input);
  std::mt19937 rng(static_cast<std::mt19937::result_type>(currentSeed));
  for (currentStep = 0; currentStep < count; ++currentStep) runOne(generate(corpus, rng));
  printf("%zu corpus files and %ld generated inputs (seed %lu) passed\n", corpus.size(), count,
         currentSeed);
  return 0;
}
