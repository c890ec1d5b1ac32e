// Links whose text names another site than they lead to.
#include "mailer/HtmlAnchors.h"

#include <gtest/gtest.h>

namespace corva {
namespace {

TEST(HtmlAnchors, MisleadingLinksNameBothHosts) {
    struct Case {
        std::string html;
        std::string shown, target; // "" when the link is fair
    };
    const std::vector<Case> cases = {
        {"<A HREF=http://x.example/a>X.example</A>", "", ""},
        {"<a href=\"http://evil.example\">https://www.bank.example/login</a>", "www.bank.example",
         "evil.example"},
        {"<a class=x href='https://secure.bank.example'>bank.example</a>", "", ""},
        {"<a href=\"https://bank.example.evil.example\">bank.example</a>", "bank.example",
         "bank.example.evil.example"},
        {"<a href=\"https://www.shop.example\">shop.example</a>", "", ""},
        {"<a href=\"mailto:a@evil.example\">help@bank.example</a>", "", ""},
        {"<a href=\"http://evil.example\">Click here</a>", "", ""},
        {"<a href=\"http&#58;//evil&#x2e;example/\"><b>www.bank.example</b></a>",
         "www.bank.example", "evil.example"},
        {"<a href='http://u@evil.example:8080/'>http://bank.example", "bank.example",
         "evil.example"},
        {"<abbr>www.bank.example</abbr><a name=top>", "", ""},
        {"<a href=\"http://evil.example/\"", "", ""},
    };
    for (const Case& c : cases) {
        std::vector<MisleadingLink> found = misleadingLinks(c.html);
        if (c.shown.empty()) {
            EXPECT_TRUE(found.empty()) << c.html;
            continue;
        }
        ASSERT_EQ(found.size(), 1u) << c.html;
        EXPECT_EQ(found[0].shownHost, c.shown) << c.html;
        EXPECT_EQ(found[0].targetHost, c.target) << c.html;
    }
}

} // namespace
} // namespace corva
