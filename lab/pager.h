// Output for a person at a terminal, a page at a time.
//
// What comes is held until it is more than a page. Then a page of it is shown, with a question in the row
// below, so that no line leaves the screen unread. A page is as high and as wide as the screen is when it is
// shown. For any other reader everything is held to the end, and nobody is asked.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace kov_lab
{

class Pager
{
public:
    explicit Pager(bool asks) : asks_(asks) {}

    void add(std::string_view output);
    // A line that came meanwhile. It stands where it came; a reader who wants no more output still sees it.
    void add_trace(const std::string &line);

    // Where the other end waits to hear whether to go on: shows the pages that are full.
    bool wants_more();
    // Shows what is left.
    void finish(std::FILE *to);

    const std::string &held() const { return held_; }

private:
    void show_full_pages(std::FILE *to);
    void put(std::size_t size, std::FILE *to);
    void ask(unsigned columns);

    bool asks_;
    bool all_ = false;
    bool stopped_ = false;
    std::string held_;
};

} // namespace kov_lab
