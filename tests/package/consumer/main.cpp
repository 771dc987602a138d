// Uses exported functions of the installed libraries through their umbrella
// headers only.
#include <ovparquet/host.hpp>

#include <iostream>

int main() {
  const orvane::ustring name = orvane::utf8_to_ustring("Grüße");
  std::cout << orvane::ustring_to_utf8(name) << " " << name.size() << "\n";
  return 0;
}
