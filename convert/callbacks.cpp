#include "convert/callbacks.hpp"

namespace h5gate {

bool getReport(zbArray* exception, std::string& report) {
  zbArray* basic = zbCreateString("basic");
  std::array<zbArray*, 2> inputs = {exception, basic};
  zbArray* words = nullptr;
  zbArray* failure = zebCallZembraWithTrap(1, &words, 2, inputs.data(), "getReport");
  zbDestroyArray(basic);
  if (failure != nullptr) return false;
  report = textOf(words);
  return true;
}

}  // namespace h5gate
