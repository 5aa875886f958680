#include "support/clips.h"

#include <cstdio>
#include <exception>
#include <map>

// Makes a test clip and prints its path: make_clip width=1440 height=1080 rate=25 …
// A value of extra is split at blanks; cut=0.4 gives the first part of the file's bytes.
int main(int argc, char **argv)
{
    std::map<QString, QString> given;
    for (int i = 1; i < argc; ++i) {
        const QString word = QString::fromLocal8Bit(argv[i]);
        given[word.section(QLatin1Char('='), 0, 0)] = word.section(QLatin1Char('='), 1);
    }
    nimbara::testing::ClipRecipe wanted;
    const auto text = [&](const char *key, QString &into) {
        if (const auto found = given.find(QLatin1String(key)); found != given.end()) {
            into = found->second;
        }
    };
    const auto number = [&](const char *key, auto &into) {
        if (const auto found = given.find(QLatin1String(key)); found != given.end()) {
            into = static_cast<std::remove_reference_t<decltype(into)>>(found->second.toDouble());
        }
    };
    number("width", wanted.width);
    number("height", wanted.height);
    number("seconds", wanted.seconds);
    number("channels", wanted.audioChannels);
    number("rotate", wanted.rotate);
    text("rate", wanted.rate);
    text("video", wanted.videoCodec);
    text("audio", wanted.audioCodec);
    text("container", wanted.container);
    QString extra;
    text("extra", extra);
    wanted.extra = extra.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    double cut = 0;
    number("cut", cut);
    try {
        const QString path = cut > 0 ? nimbara::testing::truncatedClip(wanted, cut)
                                     : nimbara::testing::clip(wanted);
        std::puts(qPrintable(path));
    } catch (const std::exception &error) {
        static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
        return 1;
    }
    return 0;
}
