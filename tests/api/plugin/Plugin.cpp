// A plug-in as others would write one: an index type, a format and an accessor of its own.
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
        auto& [x, y, z] = fNumbers;
        if (!(in >> x >> y >> z)) throw Index::eMalformedIndex;
        if (in >> std::ws; !in.eof()) throw Index::eTrailingData;
    }

    [[nodiscard]] std::string asString() const override {
        const auto& [x, y, z] = fNumbers;
        return std::to_string(x) + ' ' + std::to_string(y) + ' ' + std::to_string(z);
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

/// Structures as words: a name, then the names of float members.
class Words : public StructureSerializer {
  public:
    Words() { registerFormat(*this); }
    Words(const Words&) = delete;
    Words& operator=(const Words&) = delete;
    ~Words() override { deregisterFormat(*this); }

    [[nodiscard]] const char* formatType() const override { return "words"; }
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
const Words words;

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
