// Digests by the vectors of the algorithms' own standards.
#include "platform/linux/digests.h"

#include <string>

#include <gtest/gtest.h>

namespace quorvane::platform::linux_ {
namespace {

std::string hexadecimal(const Bytes& bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += kDigits[static_cast<unsigned char>(byte) >> 4U];
        text += kDigits[static_cast<unsigned char>(byte) & 15U];
    }
    return text;
}

class LinuxDigests : public ::testing::Test {
protected:
    std::string digest(DigestAlgorithm algorithm, std::string_view text) {
        DigestContext context = digests_->begin(algorithm);
        context.update(text);
        return hexadecimal(context.finish());
    }
    std::string md5(std::string_view text) { return digest(DigestAlgorithm::md5, text); }
    std::string sha1(std::string_view text) { return digest(DigestAlgorithm::sha1, text); }
    std::string sha256(std::string_view text) { return digest(DigestAlgorithm::sha256, text); }
    std::string sha512(std::string_view text) { return digest(DigestAlgorithm::sha512, text); }

    std::shared_ptr<Digests> digests_ = makeDigests();
};

/// RFC 1321, section A.5.
TEST_F(LinuxDigests, OfTheMd5Standard) {
    EXPECT_EQ(md5(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5("a"), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(md5("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(md5("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(md5("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(md5("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "d174ab98d277d9f5a5611c2c9f419d9f");
    EXPECT_EQ(md5("1234567890123456789012345678901234567890123456789012345678901234567890123456789"
                  "0"),
              "57edf4a22be3c955ac49da2e2107b67a");
}

constexpr const char* kTwoBlocks = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
constexpr const char* kTwoLongBlocks =
    "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnop"
    "qrsmnopqrstnopqrstu";

/// The examples that accompany FIPS 180, and the digests of nothing.
TEST_F(LinuxDigests, OfTheSecureHashStandard) {
    const std::string million(1'000'000, 'a');
    EXPECT_EQ(sha1(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    EXPECT_EQ(sha1("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(sha1(kTwoBlocks), "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
    EXPECT_EQ(sha1(million), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
    EXPECT_EQ(sha256(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(sha256(kTwoBlocks),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(sha256(million), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
    EXPECT_EQ(sha512(""), "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
                          "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e");
    EXPECT_EQ(sha512("abc"), "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
                             "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f");
    EXPECT_EQ(sha512(kTwoLongBlocks),
              "8e959b75dae313da8cf4f72814fc143f8f7779c6eb9f7fa17299aeadb6889018"
              "501d289e4900f7e4331b99dec4b5433ac7d329eeb6dd26545e96e55b874be909");
    EXPECT_EQ(sha512(million), "e718483d0ce769644e2e42c7bc15b4638e1f98b13b2044285632a803afa973eb"
                               "de0ff244877ea60a4cb0432ce577c31beb009c5c2c49aa2e4eadb217ad8cc09b");
}

TEST_F(LinuxDigests, DoNotDependOnHowTheBytesCome) {
    const std::string text(1000, 'q');
    for (const auto algorithm : {DigestAlgorithm::md5, DigestAlgorithm::sha1,
                                 DigestAlgorithm::sha256, DigestAlgorithm::sha512}) {
        DigestContext context = digests_->begin(algorithm);
        for (std::size_t start = 0, length = 0; start < text.size(); start += length++)
            context.update(std::string_view(text).substr(start, length));
        EXPECT_EQ(hexadecimal(context.finish()), digest(algorithm, text));
    }
}

TEST_F(LinuxDigests, FinishingACopyLeavesTheOriginal) {
    DigestContext context = digests_->begin(DigestAlgorithm::sha1);
    context.update("ab");
    DigestContext copy = context;
    EXPECT_EQ(hexadecimal(copy.finish()), sha1("ab"));
    EXPECT_FALSE(copy.isUsable());
    EXPECT_EQ(copy.finish(), "");
    context.update("c");
    copy = context;
    EXPECT_EQ(hexadecimal(copy.finish()), sha1("abc"));
    EXPECT_EQ(hexadecimal(context.finish()), sha1("abc"));
}

TEST_F(LinuxDigests, AnUnusableContextStaysSo) {
    DigestContext context(DigestAlgorithm::sha512, nullptr);
    context.update("abc");
    DigestContext copy = context;
    EXPECT_FALSE(copy.isUsable());
    EXPECT_EQ(copy.finish(), "");
}

} // namespace
} // namespace quorvane::platform::linux_
