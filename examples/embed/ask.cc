// A program that asks a workbook model what it would show: the highest investment at which the net present
// value of the solar plant is not yet negative, at three feed-in prices.
//
//   ask solar-plant.xlsx

#include <ordvane/model.h>

#include <cstdio>

namespace {

double net_present_value(ordvane::Model& model, double price, double investment) {
  model.set("Finance!B5", price);
  model.set("Finance!B10", investment);
  const ordvane::CellValue value = model.value("Results!B5");
  // A text or an error in the cell is no number.
  if (!value.number) throw ordvane::Error(ordvane::ErrorCode::kFailed, "Results!B5: shows " + value.text);
  return *value.number;
}

// Between what is surely too little and surely too much.
double highest_investment(ordvane::Model& model, double price) {
  double low = 0, high = 5000;
  while (high - low > 0.01) {
    const double middle = (low + high) / 2;
    (net_present_value(model, price, middle) < 0 ? high : low) = middle;
  }
  return low;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s SOLAR-PLANT.xlsx\n", argv[0]);
    return 2;
  }
  try {
    ordvane::Model model(argv[1]);
    for (const double price : {60.0, 74.0, 90.0})
      std::printf("%.0f per MWh: %.0f per kW\n", price, highest_investment(model, price));
    return 0;
  } catch (const ordvane::Error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
