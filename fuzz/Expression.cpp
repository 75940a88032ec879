// Every text is an expression, or an error says where it is not; what parses prints itself as a
// text that parses to the same again. SPDX-License-Identifier: Apache-2.0
#include "expressions/Expression.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "Law.h"
#include "expressions/StreamFilter.h"
#include "json/JsonText.h"

namespace {

using namespace orbo::Quilmeta;
using orbo::Fuzz::demand;
using Kind = Node::Kind;

const char* const kFields[] = {"file", "node", "channel", "stream", "structure", "indextype"};
const char* const kComparisons[] = {"==", "!=", "<", "<=", ">", ">="};

std::string quoted(std::string_view text) {
    std::string out = "\"";
    for (const char byte : text) {
        if (byte == '"' || byte == '\\') out += '\\';
        out += byte;
    }
    return out + '"';
}

std::string digitsOf(Integer value) {
    std::string digits;
    const bool isNegative = value < 0;
    do {
        const int digit = static_cast<int>(value % 10);
        digits += static_cast<char>('0' + (digit < 0 ? -digit : digit));
        value /= 10;
    } while (value != 0);
    if (isNegative) digits += '-';
    std::reverse(digits.begin(), digits.end());
    return digits;
}

std::string printed(const Literal& literal) {
    switch (literal.kind) {
        case Literal::Kind::kNull:
            return "null";
        case Literal::Kind::kTruth:
            return literal.truth ? "true" : "false";
        case Literal::Kind::kInteger:
            return digitsOf(literal.integer);
        case Literal::Kind::kDecimal: {
            const std::string digits = fmt::format("{}", literal.decimal);
            return digits.find_first_of(".e") == digits.npos ? digits + ".0" : digits;
        }
        default:
            return quoted(literal.text);
    }
}

/// Prints trees with parentheses around everything that has operands.
class Printer {
  public:
    explicit Printer(const Syntax& syntax) : fSyntax(syntax) { print(syntax.root); }
    [[nodiscard]] const std::string& text() const { return fText; }
    /// False when the parentheses may be nested more deeply than a parser allows.
    [[nodiscard]] bool canBeParsed() const { return fDeepest <= 30; }

  private:
    void print(const Node& node) {
        const bool isLeaf = node.kind >= Kind::kField || node.kind == Kind::kExists;
        fDeepest = std::max(fDeepest, ++fDepth);
        if (!isLeaf) fText += '(';
        printBare(node);
        if (!isLeaf) fText += ')';
        --fDepth;
    }
    void printRow(const Node& node, const char* sign) {
        for (size_t i = 0; i < node.operands.size(); ++i) {
            if (i > 0)
                fText += sign ? std::string(sign) : std::string(" ") + node.signs[i - 1] + ' ';
            print(node.operands[i]);
        }
    }
    void printName(const Node& node) {
        fText += "member[" + quoted(fSyntax.names[node.name]) + ']';
        printPart(node);
    }
    void printPart(const Node& node) {
        if (node.part) fText += '[' + std::to_string(*node.part) + ']';
    }
    void printBare(const Node& node) {
        switch (node.kind) {
            case Kind::kOr:
                return printRow(node, " or ");
            case Kind::kAnd:
                return printRow(node, " and ");
            case Kind::kNot:
                fText += "not ";
                return print(node.operands[0]);
            case Kind::kCompare:
                print(node.operands[0]);
                fText += std::string(" ") + kComparisons[static_cast<int>(node.comparison)] + ' ';
                return print(node.operands[1]);
            case Kind::kIn:
                print(node.operands[0]);
                fText += " in ";
                return print(node.operands[1]);
            case Kind::kGlob:
            case Kind::kRegex:
                print(node.operands[0]);
                fText += node.negated ? " !" : " ";
                fText += node.glob ? "~ " : "=~ ";
                fText += quoted(node.literal.text);
                return;
            case Kind::kExists:
                fText += "exists(";
                printName(node.operands[0]);
                fText += ')';
                return;
            case Kind::kSum:
            case Kind::kProduct:
                return printRow(node, nullptr);
            case Kind::kNegate:
                fText += "- (";
                print(node.operands[0]);
                fText += ')';
                return;
            default:
                return printValue(node);
        }
    }
    void printValue(const Node& node) {
        switch (node.kind) {
            case Kind::kField:
                fText += kFields[static_cast<int>(node.field)];
                return;
            case Kind::kIndex:
                fText += "index";
                return printPart(node);
            case Kind::kMember:
                return printName(node);
            case Kind::kList:
                fText += '(';
                printRow(node, ", ");
                fText += ",)";
                return;
            case Kind::kRange:
                return printRow(node, "..");
            default:
                fText += printed(node.literal);
        }
    }

    const Syntax& fSyntax;
    std::string fText;
    int fDepth = 0;
    int fDeepest = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(orbo::Fuzz::textOf(data, size));
    try {
        const Expression expression(text);
        const Printer print(expression.syntax());
        if (!print.canBeParsed()) return 0;
        const std::string& first = print.text();
        const Expression again(first);
        const std::string second = Printer(again.syntax()).text();
        demand(first == second, "the print of a print is the same", first, second);
        const Place place = Place().set(Field::kNode, "rig").set(Field::kChannel, "edge");
        demand(expression.canMatch(place) == again.canMatch(place), "a print means the same", text);
    } catch (const ExpressionError& error) {
        demand(error.at() <= size, "the place of an error is in the text", text, error.what());
    }
    return 0;
}
