// The argument list that the process appears to have been started with.

#include <crt_externs.h>

#include "simulator/on_reset.hpp"
#include "simulator/simulator.hpp"

namespace simulator {
namespace {

struct Arguments {
    std::vector<std::string> texts;
    std::vector<char*> pointers{nullptr};
    char** list = pointers.data();
    int count = 0;
};

Arguments& arguments() {
    static Arguments& instance = *new Arguments;
    return instance;
}

const OnReset setUsualArguments([] { setArguments({"tolvaran_helper"}); });

}  // namespace

void setArguments(std::vector<std::string> texts) {
    Arguments& all = arguments();
    all.texts = std::move(texts);
    all.pointers.clear();
    for (std::string& text : all.texts) {
        all.pointers.push_back(text.data());
    }
    all.pointers.push_back(nullptr);
    all.list = all.pointers.data();
    all.count = static_cast<int>(all.texts.size());
}

}  // namespace simulator

char*** _NSGetArgv() {
    return &simulator::arguments().list;
}

int* _NSGetArgc() {
    return &simulator::arguments().count;
}
