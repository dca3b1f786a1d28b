#include <chronoseal/atl/base64.h>

#include <string>

#include <gtest/gtest.h>

#include <chronoseal/base/atl_exception.h>

namespace ATL {
namespace {

std::string encoded(const std::string& bytes, unsigned flags) {
    int size = static_cast<int>(bytes.size());
    std::string text(static_cast<std::size_t>(Base64EncodeGetRequiredLength(size, flags)), '\0');
    int length = static_cast<int>(text.size());
    EXPECT_TRUE(Base64Encode(reinterpret_cast<const unsigned char*>(bytes.data()), size,
                             text.data(), &length, flags));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::string decoded(const std::string& text) {
    std::string bytes(text.size(), '\0');
    int length = static_cast<int>(bytes.size());
    EXPECT_TRUE(Base64Decode(text.data(), static_cast<int>(text.size()),
                             reinterpret_cast<unsigned char*>(bytes.data()), &length));
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

TEST(Base64, EncodesTheVectorsOfTheStandard) {
    using Case = std::pair<const char*, const char*>;
    for (const auto& [bytes, text] :
         {Case{"", ""}, Case{"f", "Zg=="}, Case{"fo", "Zm8="}, Case{"foo", "Zm9v"},
          Case{"foob", "Zm9vYg=="}, Case{"fooba", "Zm9vYmE="}, Case{"foobar", "Zm9vYmFy"},
          Case{"\xFB\xEF\xBE\xFF", "++++/w=="}}) {
        EXPECT_EQ(encoded(bytes, 0), text);
        std::string bare = text;
        bare.erase(std::min(bare.find('='), bare.size()));
        EXPECT_EQ(encoded(bytes, kBase64NoPadding), bare);
        if (*text != '\0') {
            EXPECT_EQ(decoded(text), bytes);
            EXPECT_EQ(decoded(bare), bytes);
        }
    }
}

TEST(Base64, EndsEveryFullLine) {
    EXPECT_EQ(encoded(std::string(57, 'x'), 0).size(), 78u);
    EXPECT_TRUE(encoded(std::string(57, 'x'), 0).ends_with("\r\n"));
    EXPECT_EQ(encoded(std::string(56, 'x'), 0).size(), 76u);
    EXPECT_EQ(encoded(std::string(58, 'x'), 0).find("\r\n"), 76u);
    EXPECT_EQ(encoded(std::string(114, 'x'), kBase64NoLineEnds).find('\r'), std::string::npos);
}

TEST(Base64, AsksForTheRoomOfItsBound) {
    struct {
        int size;
        int bounds[4]; // by flags
    } const rows[] = {
        {0, {2, 2, 0, 0}},
        {1, {6, 6, 4, 4}},
        {2, {6, 6, 4, 4}},
        {3, {6, 6, 4, 4}},
        {55, {78, 78, 76, 76}},
        {56, {80, 78, 76, 76}},
        {57, {80, 80, 76, 76}},
        {58, {84, 84, 80, 80}},
        {113, {158, 156, 152, 152}},
        {114, {158, 158, 152, 152}},
        {1000, {1372, 1372, 1336, 1336}},
    };
    for (const auto& row : rows) {
        const std::string bytes(static_cast<std::size_t>(row.size), 'x');
        for (unsigned flags = 0; flags < 4; ++flags) {
            EXPECT_EQ(Base64EncodeGetRequiredLength(row.size, flags), row.bounds[flags])
                << row.size << ' ' << flags;
            // One less is refused, whatever the text would need.
            std::string text(static_cast<std::size_t>(row.bounds[flags]) + 1, '\0');
            int room = row.bounds[flags] - 1;
            const auto* const source = reinterpret_cast<const unsigned char*>(bytes.data());
            EXPECT_FALSE(Base64Encode(source, row.size, text.data(), &room, flags));
            room = row.bounds[flags];
            EXPECT_TRUE(Base64Encode(source, row.size, text.data(), &room, flags));
        }
    }
}

TEST(Base64, GoesRoundAtAnySizeWithinTheBound) {
    for (int size = 1; size < 400; ++size) {
        std::string bytes;
        for (int i = 0; i < size; ++i) {
            bytes += static_cast<char>(i * 7 + size);
        }
        for (unsigned flags = 0; flags < 4; ++flags) {
            EXPECT_EQ(decoded(encoded(bytes, flags)), bytes) << size << ' ' << flags;
        }
    }
}

TEST(Base64, RefusesTooLittleRoomAndNull) {
    const unsigned char bytes[] = {1, 2, 3};
    char text[16];
    int room = sizeof text;
    EXPECT_FALSE(Base64Encode(nullptr, 3, text, &room, 0));
    EXPECT_FALSE(Base64Encode(bytes, 3, text, nullptr, 0));
    EXPECT_THROW(Base64Encode(bytes, 0x20000000, text, &room, 0), CAtlException);
    unsigned char out[2];
    room = 2;
    EXPECT_FALSE(Base64Decode("AAAA", 4, out, &room));
    EXPECT_FALSE(Base64Decode("", 0, out, &room));
}

TEST(Base64, SkipsWhatIsNotOfTheAlphabetAndStopsAtZero) {
    EXPECT_EQ(decoded("Zm\r\n9v=Ym*Fy"), "foobar");
    EXPECT_EQ(decoded(std::string("Zm9v\0YmFy", 9)), "foo");
    EXPECT_EQ(decoded("Z"), "");
}

} // namespace
} // namespace ATL
