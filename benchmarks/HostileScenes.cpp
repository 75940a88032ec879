// Scenes that nobody wrote in good faith.
// SPDX-License-Identifier: Apache-2.0
#include "HostileScenes.h"

#include <cstdint>

namespace orbo::Benchmarks {

namespace {

using std::string;

template <typename Piece>
string repeat(std::size_t size, const Piece& piece) {
    string text;
    for (std::size_t i = 0; text.size() < size; ++i) text += piece(std::to_string(i));
    return text;
}
string repeated(std::size_t size, const string& piece) {
    return repeat(size, [&](const string&) { return piece; });
}

string textScene(const string& section) {
    return "//Quil ASCII 2016 scene\nselect -ne a;\nselect -ne b;\n" + section +
           "// End of scene.kx\n";
}
string escaped(const string& text) {
    string result;
    for (const char c : text) {
        if (c == '"' || c == '\\') result += '\\';
        result += c == '\n' ? string("\\n") : string(1, c);
    }
    return result;
}
string structure(const string& fields) {
    return "dataStructure -fmt \"raw\" -as \"" + fields + "\";\n";
}
string node(const string& name, const string& text) {
    return "applyMetadata -fmt \"raw\" -v \"" + escaped(text) + "\" \n\t\t" + name + ";\n";
}
string stream(const string& elements, const string& name = "s", const string& type = "numeric") {
    return "stream\nname " + name + "\nindexType " + type + "\nstructure S\n" + elements +
           "endStream\n";
}
string channel(const string& streams, const string& name = "c") {
    return "channel\nname " + name + "\n" + streams + "endChannel\n";
}
/// One node of one stream.
string elements(const string& fields, const string& lines, const string& type = "numeric") {
    return textScene(structure("name=S:" + fields) +
                     node("n", channel(stream(lines, "s", type)) + "endAssociations\n"));
}

string bigEndian(std::uint64_t value, int bytes) {
    string result;
    while (bytes-- > 0) result += static_cast<char>(value >> (8 * bytes) & 0xFFu);
    return result;
}
string chunk(const string& tag, const string& data) {
    return tag + bigEndian(0, 4) + bigEndian(data.size(), 8) + data +
           string((8 - data.size() % 8) % 8, '\0');
}
string raw(const string& text) { return string("raw\0", 4) + text + string(1, '\0'); }
string binaryScene(const string& chunks) {
    const std::uint64_t end = 40 + chunks.size() + 24;
    return "FOR8" + bigEndian(0, 4) + bigEndian(end - 16, 8) + "QuilFOR8" + bigEndian(0, 4) +
           bigEndian(chunks.size() + 28, 8) + "TRLR" + chunks + "BCSZ" + bigEndian(0, 4) +
           bigEndian(4, 8) + bigEndian(chunks.size() + 20, 4) + bigEndian(0, 4);
}

}  // namespace

const std::vector<HostileScene>& hostileScenes() {
    static const std::vector<HostileScene> scenes = {
        // What the scanner meets.
        {"commands without an end", false,
         [](std::size_t n) { return textScene(repeated(n, "dataStructure\n")); }},
        {"commands and no more", false,
         [](std::size_t n) { return textScene(repeated(n, "applyMetadata;\n")); }},
        {"commands on one line", false,
         [](std::size_t n) { return textScene(repeated(n, "applyMetadata ")); }},
        {"quotes", false,
         [](std::size_t n) {
             return textScene("applyMetadata -fmt \"raw\" -v " + string(n, '"') + " n;\n");
         }},
        {"escapes", false,
         [](std::size_t n) { return textScene(structure(repeated(n, "\\134\\n\\\""))); }},
        {"backslashes", false, [](std::size_t n) { return textScene(structure(string(n, '\\'))); }},
        {"line feeds", false, [](std::size_t n) { return textScene(string(n, '\n')); }},
        {"semicolons", false, [](std::size_t n) { return textScene(repeated(n, ";\n")); }},
        {"comments in a statement", false,
         [](std::size_t n) { return textScene("dataStructure\n" + repeated(n, "//\n") + ";\n"); }},
        {"trailers", false, [](std::size_t n) { return textScene(repeated(n, "// End of\n")); }},
        {"no line feed", false, [](std::size_t n) { return textScene(string(n, 'x')); }},
        {"zero bytes", false, [](std::size_t n) { return textScene(string(n, '\0') + "\n"); }},
        // What the formats meet.
        {"claims of dimension", false,
         [](std::size_t n) {
             return textScene(repeat(n, [](const string& i) {
                 return structure("name=" + i + ":dbl4x4[4294967295]=m:string[4294967295]=s");
             }));
         }},
        {"elements of a claimed dimension", false,
         [](std::size_t n) {
             return elements("int32[4294967295]=x",
                             repeat(n, [](const string& i) { return i + "\n1 2 3\n"; }));
         }},
        {"members", false,
         [](std::size_t n) {
             return textScene(
                 structure("name=S" + repeat(n, [](const string& i) { return ":int8=" + i; })));
         }},
        {"members of one name", false,
         [](std::size_t n) { return textScene(structure("name=S" + repeated(n, ":int8=x"))); }},
        {"fields of nothing", false,
         [](std::size_t n) { return textScene(structure("name=S" + repeated(n, ":a"))); }},
        {"structures", false,
         [](std::size_t n) {
             return textScene(
                 repeat(n, [](const string& i) { return structure("name=S" + i + ":int8=x"); }));
         }},
        {"structures of one name", false,
         [](std::size_t n) {
             return textScene(
                 repeat(n, [](const string& i) { return structure("name=S:int8=x" + i); }));
         }},
        {"nodes", false,
         [](std::size_t n) {
             return textScene(
                 repeat(n, [](const string& i) { return node("n" + i, "endAssociations\n"); }));
         }},
        {"one node again and again", false,
         [](std::size_t n) {
             return textScene(
                 structure("name=S:int8=x") +
                 repeated(n, node("n", channel(stream("0\n1\n")) + "endAssociations\n")));
         }},
        {"channels", false,
         [](std::size_t n) {
             return textScene(node("n", repeat(n, [](const string& i) { return channel("", i); }) +
                                            "endAssociations\n"));
         }},
        {"streams of one element", false,
         [](std::size_t n) {
             return textScene(
                 structure("name=S:int8=x") +
                 node("n", channel(repeat(n, [](const string& i) { return stream("0\n1\n", i); })) +
                               "endAssociations\n"));
         }},
        {"elements of one number", false,
         [](std::size_t n) {
             return elements("int8=x", repeat(n, [](const string& i) { return i + "\n1\n"; }));
         }},
        {"elements from last to first", false,
         [](std::size_t n) {
             return elements("int8=x", repeat(n, [](const string& i) {
                                 return std::to_string(4294967295u - std::stoul(i)) + "\n1\n";
                             }));
         }},
        {"elements of one string", false,
         [](std::size_t n) {
             return elements("string=x", repeat(n, [](const string& i) { return i + "\n\"\"\n"; }));
         }},
        {"string indices", false,
         [](std::size_t n) {
             return elements("int8=x", repeat(n, [](const string& i) { return i + "\n1\n"; }),
                             "string");
         }},
        {"numbers in one element", false,
         [](std::size_t n) {
             return elements("double[" + std::to_string(n / 4) + "]=x",
                             "0\n" + repeated(n, "0.1 ") + "\n");
         }},
        {"numbers of many digits", false,
         [](std::size_t n) {
             return elements("double=x", "0\n" + string(n, '1') + "." + string(n, '7') + "\n");
         }},
        {"a long string", false,
         [](std::size_t n) {
             return elements("string=x", "0\n\"" + repeated(n, "\\\"\\n") + "\"\n");
         }},
        {"values that are none", false,
         [](std::size_t n) {
             return elements("int8=x", repeat(n, [](const string& i) { return i + "\nx\n"; }));
         }},
        {"a matrix of none", false,
         [](std::size_t n) {
             return elements("dbl4x4[4294967295]=x", "0\n" + repeated(n, "x ") + "\n");
         }},
        {"a matrix of points", false,
         [](std::size_t n) {
             return elements("dbl4x4[4294967295]=x", "0\n" + string(n, '.') + "\n");
         }},
        {"strings that are none", false,
         [](std::size_t n) {
             return elements("string[4294967295]=x", "0\n" + repeated(n, "- ") + "\n");
         }},
        {"booleans that are none", false,
         [](std::size_t n) {
             return elements("bool[4294967295]=x", "0\n" + repeated(n, "- ") + "\n");
         }},
        {"indices that are none", false,
         [](std::size_t n) { return elements("int8=x", repeated(n, "x\n1\n")); }},
        {"lines that are no index", false,
         [](std::size_t n) { return elements("int8=x", repeated(n, "x\n")); }},
        {"lines that are no pair", false,
         [](std::size_t n) { return elements("int8=x", repeated(n, "x\n"), "pair"); }},
        {"words that are none", false,
         [](std::size_t n) { return textScene(node("n", repeated(n, "channel\nx\n"))); }},
        {"a word that is none in each value", false,
         [](std::size_t n) {
             return elements("int8=x:float=y:string=z",
                             repeat(n, [](const string& i) { return i + "\nx y z\n"; }));
         }},
        {"elements of one index", false,
         [](std::size_t n) { return elements("int8=x", repeated(n, "7\n1\n")); }},
        {"blanks", false,
         [](std::size_t n) {
             return elements("int8=x", repeat(n, [](const string& i) {
                                 return i + string(40, ' ') + "\n" + string(40, '\t') + "1\n";
                             }));
         }},
        {"empty lines", false,
         [](std::size_t n) { return elements("int8=x", "0\n" + string(n, '\n') + "1\n"); }},
        {"empty streams", false,
         [](std::size_t n) {
             return textScene(
                 structure("name=S:int8=x") +
                 node("n", channel(repeat(n, [](const string& i) { return stream("", i); })) +
                               "endAssociations\n"));
         }},
        {"streams of one name", false,
         [](std::size_t n) {
             return textScene(
                 structure("name=S:int8=x") +
                 node("n", channel(repeated(n, stream("0\n1\n"))) + "endAssociations\n"));
         }},
        {"streams without their structure", false,
         [](std::size_t n) {
             return textScene(
                 node("n", channel(repeated(n, stream("0\n1\n"))) + "endAssociations\n"));
         }},
        {"escaped names", false,
         [](std::size_t n) {
             return textScene(
                 structure("name=S:int8=x") +
                 node("n", channel(stream("0\n1\n"), repeated(n, "\"\\")) + "endAssociations\n"));
         }},
        {"quotes in quotes", false,
         [](std::size_t n) {
             return elements("string=x", "0\n\"" + repeated(n, "\\\\\\\"") + "\"\n");
         }},
        {"strings that do not end", false,
         [](std::size_t n) {
             return elements("string=x", repeat(n, [](const string& i) { return i + "\n\"x\n"; }));
         }},
        {"a statement of many lines", false,
         [](std::size_t n) {
             return textScene("applyMetadata -fmt \"raw\"\n" + repeated(n, "\t-x\n") + "n;\n");
         }},
        {"pairs", false,
         [](std::size_t n) {
             return elements("int8=x", repeat(n, [](const string& i) { return i + " 1\n1\n"; }),
                             "pair");
         }},
        // What the chunk walk meets.
        {"empty chunks", true,
         [](std::size_t n) { return binaryScene(repeated(n, chunk("APPL", ""))); }},
        {"empty structure chunks", true,
         [](std::size_t n) { return binaryScene(repeated(n, chunk("DATS", ""))); }},
        {"empty node chunks", true,
         [](std::size_t n) { return binaryScene(repeated(n, chunk("MTDA", ""))); }},
        {"unknown formats", true,
         [](std::size_t n) {
             return binaryScene(repeated(n, chunk("SMTD", string("\0x\0\0", 4))));
         }},
        {"structure chunks", true,
         [](std::size_t n) {
             return binaryScene(repeat(
                 n, [](const string& i) { return chunk("DATS", raw("name=" + i + ":int8=x")); }));
         }},
        {"node chunks of one element", true,
         [](std::size_t n) {
             return binaryScene(
                 chunk("DATS", raw("name=S:int8=x")) + repeat(n, [](const string& i) {
                     return chunk("MTDA", i + string(1, '\0') +
                                              raw(channel(stream("0\n1\n")) + "endAssociations\n"));
                 }));
         }},
    };
    return scenes;
}

}  // namespace orbo::Benchmarks
