#include "frame/ReaderLocale.h"

#include <clocale>

namespace KelpFrame {

void switchToReaderLocale() { std::setlocale(LC_ALL, kReaderLocaleName); }

void switchToCLocale() { std::setlocale(LC_ALL, "C"); }

}  // namespace KelpFrame
