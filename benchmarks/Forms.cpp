// What other forms of the same text cost beside the plain one, in instructions.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <sstream>

#include "Bench.h"
#include "Shapes.h"

using namespace orbo::Benchmarks;
using orbo::Data::Member;

namespace {

struct Form {
    Shape shape;
    Shape plain;
    double allowed;
};

constexpr double kForm = 1.3;
constexpr double kTypedIndex = 1.8;

Form withLineEnd(const std::string& name, const std::string& end) {
    Shape shape = mixedShape(name);
    shape.lineEnd = end;
    return {shape, mixedShape("plain"), kForm};
}
Form withBlanks(const std::string& name, const std::string& between) {
    Shape shape = mixedShape(name);
    shape.between = between;
    return {shape, mixedShape("plain"), kForm};
}
Form withIndex(const std::string& type) {
    Shape shape = mixedShape("index type " + type);
    shape.indexType = type;
    return {shape, mixedShape("numeric"), kTypedIndex};
}

std::vector<Form> allForms() {
    const Shape plain{"plain", {{Member::kString, 1, Tokens::string}}};
    const Shape escaped{"strings with escapes", {{Member::kString, 1, Tokens::escapedString}}};
    const Shape rare{"1 % with escapes", {{Member::kString, 1, Tokens::rarelyEscapedString}}};
    return {withLineEnd("CR LF", "\r\n"),
            withLineEnd("blanks at line ends", "  \n"),
            withLineEnd("tab and CR LF", "\t\r\n"),
            withBlanks("tabs", "\t"),
            withBlanks("two blanks", "  "),
            withBlanks("values over several lines", "\n"),
            withBlanks("the same with CR LF", "\r\n"),
            {escaped, plain, kForm},
            {rare, plain, kForm},
            withIndex("pair"),
            withIndex("string")};
}

constexpr unsigned kCounted = 2000;

double instructions(const char* self, std::size_t form, const char* which) {
    return instructionsOf(
        {"--toggle-collect=countedWork", self, "count", std::to_string(form), which});
}

}  // namespace

// The work that valgrind counts.
extern "C" [[gnu::noinline]] void countedWork(std::istream& in) {
    benchmark::DoNotOptimize(readStream(in));
}

int main(int argc, char** argv) {
    const std::vector<Form> forms = allForms();
    if (argc == 4) {
        const Form& form = forms.at(std::stoul(argv[2]));
        const bool isPlain = argv[3] == std::string("plain");
        std::istringstream in(ShapeText(isPlain ? form.plain : form.shape, kCounted).text);
        tidyHeap();
        countedWork(in);
        return 0;
    }
    Bench bench(0);
    std::vector<double> ratios;
    for (std::size_t i = 0; i < forms.size(); ++i) {
        const double ours = instructions(argv[0], i, "form") / kCounted;
        const double plain = instructions(argv[0], i, "plain") / kCounted;
        bench.count("read " + forms[i].shape.name, ours, forms[i].plain.name, plain,
                    forms[i].allowed, "instr");
        ratios.push_back(ours / plain);
    }
    bench.count("all forms, worst", *std::max_element(ratios.begin(), ratios.end()), "plain", 1, 0,
                "");
    bench.count("all forms, median", median(ratios), "plain", 1, 0, "");
    return bench.result();
}
