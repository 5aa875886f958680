#include "support/clips.h"

#include <cstdio>
#include <exception>
#include <functional>
#include <map>

// Makes a test clip and prints its path: make_clip width=1440 height=1080 seconds=25
int main(int argc, char **argv)
{
    nimbara::testing::ClipRecipe recipe;
    const std::map<QString, std::function<void(int)>> setters {
        { QStringLiteral("width"), [&](int value) { recipe.width = value; } },
        { QStringLiteral("height"), [&](int value) { recipe.height = value; } },
        { QStringLiteral("seconds"), [&](int value) { recipe.seconds = value; } },
    };
    try {
        for (int i = 1; i < argc; ++i) {
            const QString word = QString::fromLocal8Bit(argv[i]);
            setters.at(word.section(u'=', 0, 0))(word.section(u'=', 1).toInt());
        }
        std::puts(qPrintable(nimbara::testing::clip(recipe)));
    } catch (const std::exception &error) {
        static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
        return 1;
    }
    return 0;
}
