// The flags that everything is built with can be seen from what the compiler makes of this. See `hardening`.
#include <cstddef>
#include <cstring>

namespace zelva {

void use_copy(const char* text, std::size_t size, void (*use)(char*));

void use_copy(const char* text, std::size_t size, void (*use)(char*)) {
    char copy[200000];  // beyond any guard page
    std::memcpy(copy, text, size);
    use(copy);
}

}  // namespace zelva
