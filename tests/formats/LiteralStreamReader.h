// A slow reader of stream texts that takes the format's rules one by one: the reference for the
// fast one. SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Handle.h>
#include <data/Stream.h>
#include <data/Structure.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <limits>
#include <memory>
#include <string>

#include "core/DataTypes.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

class LiteralStreamReader {
  public:
    explicit LiteralStreamReader(std::istream& in) : fIn(in) { in.imbue(std::locale::classic()); }

    /// Null, with messages, when there were errors.
    std::unique_ptr<Stream> read(std::string& messages) {
        fIn >> std::ws;
        std::string line;
        bool hasLine = false;
        if (!fIn.good()) {
            early("Stream");
        } else {
            hasLine = readHeader(line);
            if (!fNameSeen) {
                early("Stream");
            } else if (!fStructure) {
                early("Structure");
            } else {
                fStream = std::make_unique<Stream>(*fStructure, fName);
                if (fTypeSeen) fStream->setIndexType(fType);
                readElements(line, hasLine);
            }
        }
        if (fErrors == 0) return std::move(fStream);
        messages = fMessages + std::to_string(fErrors) + (fErrors > 1 ? " errors" : " error") +
                   " found, Stream not created";
        return nullptr;
    }

  private:
    static std::string trimmed(const std::string& text) {
        std::size_t first = 0;
        std::size_t last = text.size();
        while (first < last && std::isspace(static_cast<unsigned char>(text[first]))) ++first;
        while (first < last && std::isspace(static_cast<unsigned char>(text[last - 1]))) --last;
        return text.substr(first, last - first);
    }
    static bool begins(const std::string& text, const std::string& word) {
        return text.compare(0, word.size(), word) == 0;
    }
    void report(const std::string& message) {
        fMessages += message + "\n";
        ++fErrors;
    }
    void early(const std::string& what) {
        report("Index data encountered before " + what + " name specified at record " +
               std::to_string(fRecord));
    }

    /// True when it ended at a line that is the first index line.
    bool readHeader(std::string& line) {
        while (fIn.good()) {
            ++fRecord;
            if (!std::getline(fIn, line)) return false;
            line = trimmed(line);
            if (line.empty()) continue;
            if (!fNameSeen && begins(line, "name")) {
                fName = trimmed(line.substr(4));
                fNameSeen = true;
            } else if (!fTypeSeen && begins(line, "indexType")) {
                fType = trimmed(line.substr(9));
                fTypeSeen = true;
                IndexTypes::maker(fType);  // throws for an unknown type, at this line
            } else if (!fStructure && begins(line, "structure")) {
                const std::string name = trimmed(line.substr(9));
                fStructure = Structure::structureByName(name.c_str());
                if (!fStructure) report("Structure '" + name + "' not found");
            } else {
                return true;
            }
        }
        return false;
    }

    void readElements(std::string line, bool hasLine) {
        for (;; hasLine = false) {
            if (!hasLine) {
                if (!fIn.good()) return;
                ++fRecord;
                if (!std::getline(fIn, line)) return;
                line = trimmed(line);
            }
            if (line.empty()) continue;
            if (line == "endStream") return;
            try {
                const Index index = Index::doCreate(fType, line);
                Handle handle(*fStructure);
                readStructure(handle);
                std::string rest;
                std::getline(fIn, rest);
                fStream->setElement(index, handle);
            } catch (Index::eCreationErrors code) {
                // Messages show a thousand bytes of a line, dots included.
                if (line.size() > 1000) line = line.substr(0, 997) + "...";
                report("Value '" + line + "' on or about character " +
                       std::to_string(static_cast<long long>(fIn.tellg())) +
                       " is not a legal index (code " + std::to_string(code) + ") of type " +
                       fType);
            }
        }
    }

    void readStructure(Handle& handle) {
        for (unsigned int i = 0; i < fStructure->memberCount() && fIn.good(); ++i) {
            handle.setPositionByMemberIndex(i);
            for (unsigned int k = 0; k < handle.dataLength() && fIn.good(); ++k) {
                readValue(handle, k);
            }
        }
    }

    void readValue(Handle& handle, unsigned int k) {
        switch (handle.dataType()) {
            case Member::kBoolean:
                return readBoolean(handle.asBoolean()[k]);
            case Member::kString:
                return readString(handle.asString()[k]);
            case Member::kInt8:
                return readNarrow<int>(handle.asInt8()[k]);
            case Member::kUInt16:
                return readNarrow<unsigned int>(handle.asUInt16()[k]);
            case Member::kInt32:
                return count(static_cast<bool>(fIn >> handle.asInt32()[k]));
            case Member::kUInt64:
                return count(static_cast<bool>(fIn >> handle.asUInt64()[k]));
            case Member::kFloat:
                return readFloating(handle.asFloat()[k]);
            case Member::kDouble:
                return readFloating(handle.asDouble()[k]);
            default:
                for (unsigned int i = 0; i < 16; ++i) {
                    const unsigned int before = fErrors;
                    readFloating(handle.asFloatMatrix4x4()[16 * k + i]);
                    if (fErrors > before) fIn.clear();
                }
        }
    }

    void count(bool isGood) {
        if (!isGood) ++fErrors;
    }
    template <typename Wide, typename Narrow>
    void readNarrow(Narrow& value) {
        Wide wide = 0;
        const bool isRead = static_cast<bool>(fIn >> wide);
        const bool fits = isRead && wide <= static_cast<Wide>(std::numeric_limits<Narrow>::max()) &&
                          (std::is_unsigned_v<Narrow> ||
                           wide >= static_cast<Wide>(std::numeric_limits<Narrow>::min()));
        if (fits) value = static_cast<Narrow>(wide);
        count(fits);
    }
    template <typename T>
    void readFloating(T& value) {
        count((fIn >> value) && !std::isinf(value));
    }
    void readBoolean(bool& value) {
        std::string word;
        fIn >> word;
        const bool yes =
            word == "1" || word == "t" || word == "T" || word == "true" || word == "True";
        const bool no =
            word == "0" || word == "f" || word == "F" || word == "false" || word == "False";
        if (yes || no) value = yes;
        count(yes || no);
    }
    void readString(char*& slot) {
        fIn >> std::ws;
        if (fIn.get() != '"') return count(false);
        std::string text;
        int next = fIn.get();
        for (; next != '"' && next != kEnd; next = fIn.get()) {
            if (next == '\\') {
                next = fIn.get();
                if (next == 'n') next = '\n';
                if (next == kEnd) break;
            }
            text += static_cast<char>(next);
        }
        std::free(slot);
        slot = ::strdup(text.c_str());
        count(next == '"');
    }

    static constexpr int kEnd = std::char_traits<char>::eof();

    std::istream& fIn;
    std::string fMessages;
    unsigned int fErrors = 0;
    unsigned int fRecord = 0;
    std::string fName;
    bool fNameSeen = false;
    std::string fType = "numeric";
    bool fTypeSeen = false;
    const Structure* fStructure = nullptr;
    std::unique_ptr<Stream> fStream;
};

}  // namespace orbo::Data
