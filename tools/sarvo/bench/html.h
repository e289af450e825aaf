// An answer as a page: one file, no network, the picture inside.
#pragma once

#include "answer/answer.h"
#include "picture/plot.h"

namespace command {

std::string html_page(const std::string &title, const Answer &answer, const Plot &plot);

} // namespace command
