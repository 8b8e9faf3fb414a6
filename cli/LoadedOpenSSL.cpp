// OpenSSL, loaded on first use: few commands work out a sum, and loading it is a quarter of the time that a
// short one takes. If it can't be loaded, each function fails in its own way.
#include <dlfcn.h>

#include <type_traits>

#include <openssl/evp.h>

namespace {

#define TEXT_OF(number) TEXT(number)
#define TEXT(number) #number

template <typename Outcome, typename... Parameters>
Outcome call(const char *name, Outcome (*)(Parameters...), std::type_identity_t<Parameters>... arguments) {
    static void *const library =
        dlopen("libcrypto.so." TEXT_OF(OPENSSL_SHLIB_VERSION), RTLD_NOW | RTLD_LOCAL);
    void *const function = library != nullptr ? dlsym(library, name) : nullptr;
    return function != nullptr ? reinterpret_cast<Outcome (*)(Parameters...)>(function)(arguments...)
                               : Outcome();
}

} // namespace

EVP_MD_CTX *EVP_MD_CTX_new() {
    return call("EVP_MD_CTX_new", &EVP_MD_CTX_new);
}

void EVP_MD_CTX_free(EVP_MD_CTX *context) {
    call("EVP_MD_CTX_free", &EVP_MD_CTX_free, context);
}

const EVP_MD *EVP_sha256() {
    return call("EVP_sha256", &EVP_sha256);
}

int EVP_DigestInit_ex(EVP_MD_CTX *context, const EVP_MD *type, ENGINE *engine) {
    return call("EVP_DigestInit_ex", &EVP_DigestInit_ex, context, type, engine);
}

int EVP_DigestUpdate(EVP_MD_CTX *context, const void *bytes, std::size_t count) {
    return call("EVP_DigestUpdate", &EVP_DigestUpdate, context, bytes, count);
}

int EVP_DigestFinal_ex(EVP_MD_CTX *context, unsigned char *sum, unsigned *length) {
    return call("EVP_DigestFinal_ex", &EVP_DigestFinal_ex, context, sum, length);
}
