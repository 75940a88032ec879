// Members by name and type: what is read and set, what the refusals say, whose memory is whose.
// SPDX-License-Identifier: Apache-2.0
#include <data/Handle.h>
#include <data/MemberRef.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <stdexcept>
#include <string>

namespace orbo::Data {

namespace {

using Floats = std::array<float, 3>;
using Texts = std::array<std::string_view, 2>;

RefPtr<Structure> ball(const char* name = "Ball") {
    RefPtr<Structure> structure(new Structure(name));
    structure->addMember(Member::kFloat, 1, "radius");
    structure->addMember(Member::kString, 1, "name");
    structure->addMember(Member::kFloat, 3, "place");
    structure->addMember(Member::kDoubleMatrix4x4, 1, "pose");
    structure->addMember(Member::kString, 2, "tags");
    structure->addMember(Member::kUInt8, 1, "layer");
    structure->addMember(Member::kBoolean, 1, "visible");
    structure->addMember(Member::kInt64, 1, "id");
    return structure;
}

std::string refusal(const std::function<void()>& use) {
    try {
        use();
    } catch (const std::invalid_argument& problem) {
        return problem.what();
    }
    return "nothing was refused";
}

class ValuesTest : public testing::Test {
  protected:
    RefPtr<Structure> structure = ball();
    Handle handle{*structure};
};

TEST_F(ValuesTest, GiveBackWhatWasSet) {
    std::array<double, 16> pose{};
    pose[15] = 1;
    handle.set("radius", 1.5F);
    handle.set(std::string("name"), "lid");
    handle.set("place", Floats{1, 2, 3});
    handle.set("pose", pose);
    handle.set("tags", Texts{"old", ""});
    handle.set("layer", static_cast<unsigned char>(7));
    handle.set("visible", true);
    handle.set("id", 1LL << 40);
    EXPECT_EQ(handle.get<float>("radius"), 1.5F);
    EXPECT_EQ(handle.get<std::string_view>(std::string_view("name of it").substr(0, 4)), "lid");
    EXPECT_EQ(handle.get<std::string>("name"), "lid");
    EXPECT_EQ(handle.get<Floats>("place"), (Floats{1, 2, 3}));
    EXPECT_EQ((handle.get<std::array<double, 16>>("pose")), pose);
    EXPECT_EQ(handle.get<Texts>("tags"), (Texts{"old", ""}));
    EXPECT_EQ(handle.get<unsigned char>("layer"), 7);
    EXPECT_TRUE(handle.get<bool>("visible"));
    EXPECT_EQ(handle.get<long>("id"), 1L << 40);
    EXPECT_EQ(*handle.asFloat(), 1.5F) << "the handle stays at its member";
    EXPECT_EQ(ConstHandle(handle).tryGet<float>("radius"), 1.5F);
    EXPECT_EQ(handle.tryGet<int>("radius"), std::nullopt);
    EXPECT_EQ(Handle().tryGet<float>("radius"), std::nullopt);
}

TEST_F(ValuesTest, AreRefusedWithMemberTypeAndRequest) {
    const char* const kNull = nullptr;
    Handle nothing(*structure, nullptr);
    const struct {
        std::function<void()> use;
        const char* message;
    } kCases[] = {
        {[&] { (void)handle.get<int>("radius"); }, "get<int32>(\"radius\"): the member is float"},
        {[&] { (void)handle.get<float>("place"); },
         "get<float>(\"place\"): the member is float[3]"},
        {[&] { (void)handle.get<std::array<float, 4>>("place"); },
         "get<float[4]>(\"place\"): the member is float[3]"},
        {[&] { (void)handle.get<double>("pose"); }, "get<double>(\"pose\"): the member is dbl4x4"},
        {[&] { (void)handle.get<float>("Radius"); },
         "get<float>(\"Radius\"): structure \"Ball\" has no such member"},
        {[&] { (void)handle.get<float>(kNull); },
         "get<float>(\"\"): structure \"Ball\" has no such member"},
        {[&] { (void)handle.get<float>(std::string_view("radius\0x", 8)); }, "has no such member"},
        {[&] { (void)handle.get<std::string>("name"); },
         "get<string>(\"name\"): the member is a null string, as before anybody sets it"},
        {[&] { (void)handle.get<Texts>("tags"); }, "the member is a null string"},
        {[&] { (void)nothing.get<float>("radius"); },
         "get<float>(\"radius\"): the handle has no data; there may be no such element"},
        {[&] { handle.set("radius", 1.5); }, "set(\"radius\", double): the member is float"},
        {[&] { handle.set("layer", 7); }, "set(\"layer\", int32): the member is uint8"},
        {[&] { handle.set("radius", "big"); }, "set(\"radius\", string): the member is float"},
        {[&] { handle.set("name", kNull); }, "set(\"name\", string): a null pointer is no text"},
        {[&] {
             handle.set("tags", std::array<const char*, 2>{"a", nullptr});
         },
         "a null pointer is no text"},
        {[&] { handle.set("name", std::string("a\0b", 3)); },
         "set(\"name\", string): a string member cannot hold a text with a NUL in it"},
        {[&] { nothing.set("radius", 1.5F); }, "the handle has no data"},
        {[&] { Handle().set("radius", 1.5F); }, "the handle has no data"},
        {[&] { MemberRef<int>(*structure, "radius"); },
         "MemberRef<int32>(\"radius\"): the member is float"},
        {[&] { MemberRef<int>(*structure, "size"); },
         "MemberRef<int32>(\"size\"): structure \"Ball\" has no such member"},
    };
    for (const auto& row : kCases) EXPECT_THAT(refusal(row.use), testing::HasSubstr(row.message));
    EXPECT_TRUE(handle.isDefault()) << "what is refused changes nothing";
}

TEST_F(ValuesTest, TakeTextsThatTheyAreAboutToFree) {
    handle.set("name", "a text that is too long for any string to keep in itself");
    handle.set("name", handle.get<std::string_view>("name").substr(2, 4));
    EXPECT_EQ(handle.get<std::string_view>("name"), "text");
    handle.set("tags", Texts{"left", "right"});
    const Texts tags = handle.get<Texts>("tags");
    handle.set("tags", Texts{tags[1], tags[0]});
    EXPECT_EQ(handle.get<Texts>("tags"), (Texts{"right", "left"}));
}

TEST_F(ValuesTest, AreReachedByAMemberThatIsLookedUpOnce) {
    const MemberRef<float> radius(*structure, "radius");
    const MemberRef<std::string_view> name(*structure, "name");
    radius.set(handle, 2);
    name.set(handle, "lid");
    EXPECT_EQ(radius(handle), 2);
    EXPECT_EQ(radius.get(ConstHandle(handle)), 2);
    EXPECT_EQ(name(handle), "lid");
    EXPECT_EQ(radius.tryGet(Handle()), std::nullopt);

    const RefPtr<Structure> twin(new Structure(*structure));
    Handle other(*twin);
    EXPECT_EQ(radius.tryGet(other), std::nullopt);
    EXPECT_EQ(refusal([&] { (void)radius(other); }),
              "MemberRef<float>(\"radius\"): the element is of structure \"Ball\", and the member "
              "of another, \"Ball\"");
    EXPECT_THAT(refusal([&] { radius.set(other, 3); }), testing::HasSubstr("and the member of"));
    EXPECT_THAT(refusal([&] { (void)radius(Handle()); }), testing::HasSubstr("has no data"));
    EXPECT_THAT(refusal([&] { (void)name(Handle(*structure)); }),
                testing::HasSubstr("MemberRef<string>(\"name\"): the member is a null string"));

    structure->addMember(Member::kInt32, 1, "more");
    EXPECT_EQ(radius(handle), 2) << "the chunk is as it was";
    EXPECT_THAT(refusal([&] { (void)radius(Handle(*structure)); }),
                testing::HasSubstr("the structure has got other members since this was made"));
}

}  // namespace

}  // namespace orbo::Data
