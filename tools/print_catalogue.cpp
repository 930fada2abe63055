// Prints docs/parameters.md: print_catalogue > docs/parameters.md
#include <cstdio>

#include "ParametersPage.h"

int main() {
    const std::string page = quadrig::tools::parametersPage();
    return std::fwrite(page.data(), 1, page.size(), stdout) == page.size() ? 0 : 2;
}
