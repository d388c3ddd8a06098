#include "platform/linux/digests.h"

#include <array>
#include <utility>

#include <openssl/crypto.h>
#include <openssl/evp.h>

namespace quorvane::platform::linux_ {
namespace {

struct FreeContext {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_MD_CTX, FreeContext>;

class EvpState : public DigestState {
public:
    explicit EvpState(Context context) : context_(std::move(context)) {}

    std::unique_ptr<DigestState> clone() const override {
        Context copy(EVP_MD_CTX_new());
        if (!copy || EVP_MD_CTX_copy_ex(copy.get(), context_.get()) != 1) return nullptr;
        auto state = std::make_unique<EvpState>(std::move(copy));
        state->failed_ = failed_;
        return state;
    }

    void update(std::string_view bytes) override {
        if (EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) != 1) failed_ = true;
    }

    Bytes finish() override {
        std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
        unsigned int size = 0;
        if (failed_ || EVP_DigestFinal_ex(context_.get(), digest.data(), &size) != 1) return {};
        return {digest.begin(), digest.begin() + size};
    }

private:
    Context context_;
    bool failed_ = false;
};

/// Looking an algorithm up costs more than the digest of a small file.
class OpenSslDigests : public Digests {
public:
    DigestContext begin(DigestAlgorithm algorithm) override {
        Context context(EVP_MD_CTX_new());
        const EVP_MD* type = types_.at(static_cast<std::size_t>(algorithm)).get();
        if (type == nullptr || !context || EVP_DigestInit_ex2(context.get(), type, nullptr) != 1)
            return {algorithm, nullptr};
        return {algorithm, std::make_unique<EvpState>(std::move(context))};
    }

private:
    struct FreeType {
        void operator()(EVP_MD* type) const { EVP_MD_free(type); }
    };
    using Type = std::unique_ptr<EVP_MD, FreeType>;

    static Type fetch(const char* name) {
        // Threads may hash to the very end of the process: nothing is cleaned up before them.
        OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
        return Type(EVP_MD_fetch(nullptr, name, nullptr));
    }

    /// In the order of DigestAlgorithm.
    const std::array<Type, 4> types_{fetch("MD5"), fetch("SHA1"), fetch("SHA256"), fetch("SHA512")};
};

} // namespace

std::shared_ptr<Digests> makeDigests() { return std::make_shared<OpenSslDigests>(); }

} // namespace quorvane::platform::linux_
