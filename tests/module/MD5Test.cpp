#include <gtest/gtest.h>

#include <sstream>

#include "translation/MD5Calc.h"

namespace vexil3::js {

TEST(MD5, DigestsAreTheStandardOnes) {
    const std::pair<std::string, const char*> known[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
        {std::string(55, 'a'), "ef1772b6dff9a122358552954ad0df65"},
        {std::string(56, 'a'), "3b0c8ac703f828b04c6c197006d17218"},
        {std::string(63, 'a'), "b06521f39153d618550606be297466d5"},
        {std::string(64, 'a'), "014842d480b571495a4a0363793f7367"},
        {std::string(65, 'a'), "c743a45e0d2e6a95cb859adae0248435"},
        {std::string(119, 'a'), "8a7bd0732ed6a28ce75f6dabc90e1613"},
        {std::string(120, 'a'), "5f61c0ccad4cac44c75ff505e1f1e537"},
        {std::string(1000, 'a'), "cabe45dcc9ae5b66ba86600cca6b8ba8"}};
    for (const auto& [text, digest] : known) {
        EXPECT_EQ(md5(text), digest) << text.size() << " bytes";
        std::ostringstream stream;
        stream << MD5Calc(text);
        EXPECT_EQ(stream.str(), digest);
    }
}

TEST(MD5, PiecesOfAnySizeAddUp) {
    std::string text;
    for (int i = 0; i < 700; ++i) text += static_cast<char>(i * 31);
    for (unsigned int size = 1; size < 200; ++size) {
        MD5Calc pieces;
        for (unsigned int at = 0; at < text.size(); at += size)
            pieces.update(text.data() + at, std::min<unsigned int>(size, static_cast<unsigned int>(text.size()) - at));
        pieces.update("", 0);
        EXPECT_EQ(pieces.hexdigest(), "") << "not finished";
        pieces.finalize();
        pieces.finalize();
        ASSERT_EQ(pieces.hexdigest(), md5(text)) << "pieces of " << size;
    }
    MD5Calc again(text);
    again.init();
    again.update("abc", 3);
    again.finalize();
    EXPECT_EQ(again.hexdigest(), md5("abc"));
}

TEST(MD5, ZeroingTouchesItsBytesAlone) {
    char bytes[] = "abcdef";
    EXPECT_EQ(RtlSecureZeroMemory(bytes + 1, 0), bytes + 1);
    EXPECT_STREQ(bytes, "abcdef");
    RtlSecureZeroMemory(bytes + 1, 3);
    EXPECT_EQ(std::string(bytes, 6), std::string("a\0\0\0ef", 6));
}

}  // namespace vexil3::js
