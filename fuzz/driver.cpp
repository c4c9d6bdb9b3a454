// The main function of a fuzz target that is built without libFuzzer: replays inputs, and tries a
// fixed number of inputs made from them, the same ones in every run and on every host.
//
//   fuzz_TARGET [--generate N] [FILE|DIRECTORY]...
//
// The exit status is 0 if nothing was wrong, and 2 if there is nothing to replay. A failure aborts
// the process and leaves the input in the file fuzz-failure-TARGET.
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/target.hpp"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t longest = 16384;  // of a made input, in bytes

std::string& failureFile() {
    static std::string path;
    return path;
}

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The inputs in the files and directories, in the order of their paths.
std::vector<std::string> readInputs(const std::vector<std::string>& places) {
    std::vector<fs::path> paths;
    for (const std::string& place : places) {
        if (fs::is_regular_file(place)) {
            paths.emplace_back(place);
        } else if (fs::is_directory(place)) {
            std::copy_if(fs::recursive_directory_iterator(place), {}, std::back_inserter(paths),
                         [](const fs::path& path) { return fs::is_regular_file(path); });
        }
    }
    std::sort(paths.begin(), paths.end());
    std::vector<std::string> inputs;
    std::transform(paths.begin(), paths.end(), std::back_inserter(inputs), readFile);
    return inputs;
}

/// Makes new inputs out of known ones. The standard library's distributions differ between hosts;
/// its generator does not.
class Mutator {
  public:
    explicit Mutator(std::vector<std::string> seeds) : seeds_(std::move(seeds)) {}

    std::string next() {
        std::string input =
            seeds_.empty() || below(8) == 0 ? noise() : seeds_[below(seeds_.size())];
        for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
            change(input);
        }
        input.resize(std::min(input.size(), longest));
        return input;
    }

  private:
    std::size_t below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }
    char byte() { return static_cast<char>(below(256)); }

    std::string noise() {
        std::string bytes(below(400), '\0');
        std::generate(bytes.begin(), bytes.end(), [this] { return byte(); });
        return bytes;
    }

    /// What records are made of, and what breaks them.
    std::string token() {
        static const std::vector<std::string> tokens = {
            "0",    "-1",   "1e400", "2147483648", "9223372036854775808",
            "1.5",  "-0.0", "true",  "null",       "\"\"",
            "[]",   "{}",   ",",     "\"",         "\\ud800",
            "[[[[", "}",    "\xFF",  "version",    "99999999999999999999"};
        return tokens[below(tokens.size())];
    }

    void change(std::string& input) {
        using Change = void (Mutator::*)(std::string&, std::size_t);
        static const std::vector<Change> changes = {
            &Mutator::replaceNumber, &Mutator::replaceNumber, &Mutator::insert,
            &Mutator::erase,         &Mutator::repeat,        &Mutator::putToken,
            &Mutator::splice,        &Mutator::overwrite};
        (this->*changes[below(changes.size())])(input, below(input.size() + 1));
    }

    void insert(std::string& input, std::size_t at) { input.insert(at, 1, byte()); }
    void erase(std::string& input, std::size_t at) { input.erase(at, below(32)); }
    void repeat(std::string& input, std::size_t at) {
        input.insert(at, input.substr(at, below(32)));
    }
    void putToken(std::string& input, std::size_t at) { input.replace(at, below(32), token()); }

    /// Replaces the first number after a place.
    void replaceNumber(std::string& input, std::size_t at) {
        static const std::vector<std::string> numbers = {
            "0", "-1", "0.5", "1", "2", "4096", "2147483648", "-9223372036854775808", "1e300"};
        constexpr const char* characters = "0123456789.-+eE";
        const std::size_t begin = input.find_first_of("0123456789-", at);
        if (begin != std::string::npos) {
            const std::size_t end =
                std::min(input.find_first_not_of(characters, begin), input.size());
            input.replace(begin, end - begin, numbers[below(numbers.size())]);
        }
    }

    void overwrite(std::string& input, std::size_t at) {
        if (at < input.size()) {
            input[at] = byte();
        }
    }

    void splice(std::string& input, std::size_t at) {
        if (!seeds_.empty()) {
            const std::string& other = seeds_[below(seeds_.size())];
            const std::size_t from = below(other.size());
            input.insert(at, other.substr(from, below(200)));
        }
    }

    std::vector<std::string> seeds_;
    std::mt19937 random_{20261121};
};

void keepInput(const std::string& input) {
    std::ofstream(failureFile(), std::ios::binary) << input;
}

const std::string*& current() {
    static const std::string* input = nullptr;
    return input;
}

void keepCurrentInput(int /*signal*/) {
    if (current() != nullptr) {
        keepInput(*current());
    }
    std::signal(SIGABRT, SIG_DFL);
}

void run(const std::string& input) {
    current() = &input;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    current() = nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    failureFile() = "fuzz-failure-" + fs::path(argv[0]).filename().string();
    std::signal(SIGABRT, keepCurrentInput);
    std::vector<std::string> places(argv + 1, argv + argc);
    std::size_t toGenerate = 0;
    if (places.size() >= 2 && places[0] == "--generate") {
        toGenerate = std::stoul(places[1]);
        places.erase(places.begin(), places.begin() + 2);
    }
    const std::vector<std::string> inputs = readInputs(places);
    std::for_each(inputs.begin(), inputs.end(), run);
    Mutator mutator(inputs);
    for (std::size_t i = 0; i < toGenerate; ++i) {
        run(mutator.next());
    }
    std::cout << inputs.size() << " inputs replayed, " << toGenerate << " made" << std::endl;
    return inputs.empty() && toGenerate == 0 ? 2 : 0;
}
