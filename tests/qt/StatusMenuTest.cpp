#include "app/qt/StatusMenu.h"

#include <gmock/gmock.h>

#include "app/qt/StatusItem.h"

namespace tidemark::qt {
namespace {

using Action = StatusMenuEntry::Action;

QAction* find(const QMenu& menu, const QString& title)
{
    for (auto* action : menu.actions())
        if (action->text() == title) return action;
    return nullptr;
}

TEST(StatusMenu, followsTheConfigurationsAndDoesWhatIsChosen)
{
    std::vector<std::string> names{"a & b"};
    std::vector<std::pair<Action, std::string>> done;
    StatusMenu menu([&] { return names; },
                    [&](Action action, const std::string& name) { done.emplace_back(action, name); });
    const auto before = menu.actions();
    menu.menuNeedsUpdate();
    EXPECT_EQ(menu.actions(), before) << "built anew only when something differs";
    auto* submenu = menu.actions()[3]->menu();
    ASSERT_NE(submenu, nullptr);
    ASSERT_NE(find(*submenu, "a && b"), nullptr);
    find(*submenu, "a && b")->trigger();
    menu.actions().first()->trigger();
    menu.actions().last()->trigger();
    EXPECT_THAT(done, ::testing::ElementsAre(std::pair(Action::sync, std::string("a & b")),
                                             std::pair(Action::syncAll, std::string()),
                                             std::pair(Action::exit, std::string())));
    names.clear();
    menu.menuNeedsUpdate();
    EXPECT_FALSE(menu.actions()[3]->menu()->isEnabled());
}

TEST(StatusItem, withoutAStatusAreaShowsAWindow)
{
    StatusMenu menu([] { return std::vector<std::string>(); }, [](Action, const std::string&) {});
    StatusItem item(menu);
    EXPECT_FALSE(item.isInStatusArea()) << "the platform of the tests has none";
    item.show(StatusItem::State::trouble, "trouble");
    item.notify("title", "message");
    EXPECT_EQ(item.state(), StatusItem::State::trouble);
}

} // namespace
} // namespace tidemark::qt
