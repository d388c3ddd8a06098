#include "platform/linux/privileged_helper/request.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "tests/platform/linux/privileged_helper/helper_process.h"

namespace quorvane::platform::linux_::helper {
namespace {

using quorvane::testing::requestBytes;

std::vector<std::string> textsOf(const Request& request) {
    return {request.texts.begin(), request.texts.begin() + request.count};
}

TEST(Request, HasItsNumberAndItsTexts) {
    const std::string bytes = requestBytes(7, {"/bin/mv", "-f", "/a b\n", "/\xff"});
    const Request request = parseRequest(bytes);
    EXPECT_EQ(request.error, 0);
    EXPECT_EQ(request.id, 7U);
    EXPECT_THAT(textsOf(request), ::testing::ElementsAre("/bin/mv", "-f", "/a b\n", "/\xff"));
}

TEST(Request, TextsMayBeEmpty) {
    const std::string bytes = requestBytes(1, {"", ""});
    const Request request = parseRequest(bytes);
    EXPECT_EQ(request.error, 0);
    EXPECT_THAT(textsOf(request), ::testing::ElementsAre("", ""));
}

TEST(Request, CutAnywhereIsNone) {
    const std::string bytes = requestBytes(9, {"/bin/rm", "-Rdf", "/a"});
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        const Request request = parseRequest({bytes.data(), size});
        EXPECT_EQ(request.error, EBADMSG) << size;
        EXPECT_EQ(request.id, size < sizeof(RequestHeader) ? 0U : 9U) << size;
    }
}

TEST(Request, WithSomethingAfterItsLastTextIsNone) {
    std::string bytes = requestBytes(9, {"/bin/rm"});
    bytes.push_back('\0');
    EXPECT_EQ(parseRequest(bytes).error, EBADMSG);
}

TEST(Request, WithoutTextsIsNone) { EXPECT_EQ(parseRequest(requestBytes(9, {})).error, EBADMSG); }

TEST(Request, WithMoreTextsThanAnyCommandIsTooBig) {
    const std::vector<std::string> texts(kMaximumTexts + 1, "x");
    EXPECT_EQ(parseRequest(requestBytes(9, texts)).error, E2BIG);
}

TEST(Request, ThatClaimsMoreTextsThanThereAreBytesIsNone) {
    std::string bytes = requestBytes(9, {"/bin/rm"});
    for (const std::uint32_t claimed : {2U, kMaximumTexts, 0xffffffffU}) {
        std::memcpy(bytes.data() + offsetof(RequestHeader, textCount), &claimed, sizeof claimed);
        EXPECT_NE(parseRequest(bytes).error, 0) << claimed;
    }
}

} // namespace
} // namespace quorvane::platform::linux_::helper
