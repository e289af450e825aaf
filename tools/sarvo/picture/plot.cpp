// Where a picture goes, and so which it is.
#include "picture/plot.h"

#include "answer/output.h"
#include "errors.h"

namespace command {
namespace {

bool ends_with(const std::string &text, const std::string &end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace

void check_plot_name(const std::string &path) {
    if (!path.empty() && path != "-" && !ends_with(path, ".svg") && !ends_with(path, ".png"))
        throw usage_error("--plot takes a name that ends in .svg or .png, or - for the terminal");
}

void write_plot(const Plot &plot, const std::string &path) {
    check_plot_name(path);
    if (path == "-") write_out(plot_text(plot, 72, 20));
    else write_file(ends_with(path, ".svg") ? plot_svg(plot) : plot_png(plot), path);
}

} // namespace command
