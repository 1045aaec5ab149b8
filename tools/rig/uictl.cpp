// Uses the program that is shown on $DISPLAY, like a user. Widgets are named by their object names; those of a card
// mean the first card.

#include "tests/support/uidriver.h"

#include <QApplication>

#include <cstdio>
#include <functional>
#include <map>

namespace {

constexpr char usage[] = "Usage: uictl COMMAND...\n"
                         "\n"
                         "  await              waits until the window is shown\n"
                         "  click NAME         clicks a widget\n"
                         "  type NAME TEXT     replaces the text of a line edit\n"
                         "  add NAME SERIAL    adds a printer and closes the message\n"
                         "  close-message      waits for a message dialog and closes it\n"
                         "  window             prints the identifier of the window\n"
                         "\n"
                         "Waits for the window first. Ends with 1 when a window or dialog is not shown in time.\n";

struct Command
{
    int arguments;
    std::function<bool(UiDriver &, const QStringList &)> run;
};

const std::map<QString, Command> commands = {
    {"await", {0, [](UiDriver &, const QStringList &) { return true; }}},
    {"click", {1, [](UiDriver &user, const QStringList &words) { return user.click(words[0]); }}},
    {"type", {2, [](UiDriver &user, const QStringList &words) { return user.type(words[0], words[1]); }}},
    {"add", {2, [](UiDriver &user, const QStringList &words) { return user.addPrinter(words[0], words[1]); }}},
    {"close-message", {0, [](UiDriver &user, const QStringList &) { return user.closeMessage(30000); }}},
    {"window", {0, [](UiDriver &user, const QStringList &) { return std::puts(qPrintable(user.window())) >= 0; }}},
};

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen"); // the model of the window is not for the display
    QApplication application(argc, argv);
    QStringList words = application.arguments().mid(1);
    const auto command = commands.find(words.isEmpty() ? QString() : words.takeFirst());
    if (command == commands.end() || command->second.arguments != words.size()) {
        std::fputs(usage, stderr);
        return 2;
    }
    UiDriver user(qEnvironmentVariable("DISPLAY"));
    return user.awaitWindow() && command->second.run(user, words) ? 0 : 1;
}
