// A plug-in as others would write one: an index type, two formats and an accessor of its own.
// SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>

#include <sstream>
#include <tuple>

using namespace orbo::Data;

namespace {

/// Three numbers, such as a voxel.
class IndexTriple : public CRTP_IndexType<IndexTriple> {
  public:
    static const std::string myTypeName;
    static IndexRegistration myRegistration;

    explicit IndexTriple(const std::string& text) {
        std::istringstream in(text);
        if (!(in >> std::get<0>(fNumbers) >> std::get<1>(fNumbers) >> std::get<2>(fNumbers)))
            throw Index::eMalformedIndex;
        if (in >> std::ws; !in.eof()) throw Index::eTrailingData;
    }

    [[nodiscard]] std::string asString() const override {
        std::ostringstream out;
        out << std::get<0>(fNumbers) << ' ' << std::get<1>(fNumbers) << ' '
            << std::get<2>(fNumbers);
        return out.str();
    }
    [[nodiscard]] bool supportsDenseMode() const override { return false; }
    [[nodiscard]] unsigned int denseSpaceBetween(const IndexType&) const override { return 0; }

    using CRTP_IndexType::operator==;
    using CRTP_IndexType::operator!=;
    using CRTP_IndexType::operator<;
    using CRTP_IndexType::operator<=;
    using CRTP_IndexType::operator>;
    using CRTP_IndexType::operator>=;
    bool operator==(const IndexTriple& other) const { return fNumbers == other.fNumbers; }
    bool operator!=(const IndexTriple& other) const { return fNumbers != other.fNumbers; }
    bool operator<(const IndexTriple& other) const { return fNumbers < other.fNumbers; }
    bool operator<=(const IndexTriple& other) const { return fNumbers <= other.fNumbers; }
    bool operator>(const IndexTriple& other) const { return fNumbers > other.fNumbers; }
    bool operator>=(const IndexTriple& other) const { return fNumbers >= other.fNumbers; }

  private:
    std::tuple<unsigned, unsigned, unsigned> fNumbers;
};

const std::string IndexTriple::myTypeName = "triple";
IndexType::IndexRegistration IndexTriple::myRegistration(myTypeName, doCreate);

/// A format that is registered while it lives.
template <typename Format>
class Registered : public Format {
  public:
    Registered() { Format::registerFormat(*this); }
    Registered(const Registered&) = delete;
    Registered& operator=(const Registered&) = delete;
    ~Registered() override { Format::deregisterFormat(*this); }
    [[nodiscard]] const char* formatType() const override { return "words"; }
};

/// Structures as words: a name, then the names of float members.
class WordsStructures : public Registered<StructureSerializer> {
  public:
    Structure* read(std::istream& in, std::string& errors) const override {
        std::string word;
        if (!(in >> word)) {
            errors += "Nothing but blanks";
            return nullptr;
        }
        Structure* structure = Structure::create();
        structure->setName(word.c_str());
        while (in >> word) structure->addMember(Member::kFloat, 1, word.c_str());
        return structure;
    }
    int write(const Structure& structure, std::ostream& out) const override {
        out << structure.name();
        for (const Member& member : structure) out << ' ' << member.name();
        return 0;
    }
    void getFormatDescription(std::ostream& out) const override { out << "A name, members"; }
};
const WordsStructures wordsStructures;

/// Streams as words, for writing only: the name, then the indices.
class WordsStreams : public Registered<StreamSerializer> {
  public:
    Stream* read(std::istream&, std::string& errors) const override {
        errors += "Words cannot be read back";
        return nullptr;
    }
    int write(const Stream& stream, std::ostream& out, std::string&) const override {
        out << stream.name();
        for (auto it = stream.cbegin(); it != stream.cend(); ++it)
            out << " (" << it.index().asString() << ')';
        return 0;
    }
    void getFormatDescription(std::ostream& out) const override { out << "A name, indices"; }
};
const WordsStreams wordsStreams;

/// Finds an empty channel named after the file in every file.
class MemoAccessor : public Accessor {
  protected:
    bool readImplementation(const std::set<std::string>*, const std::set<std::string>*,
                            std::string&) override {
        associations()[""].channel(fileName());
        return true;
    }
};
AccessorFactory<MemoAccessor> memoFactory("Memo");

}  // namespace
