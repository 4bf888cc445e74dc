#include "Support/WebPage.h"

#include <LumoKit/WebView/WebViewMessageHandler.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace LumoKit;
using LumoKit::Test::MessageRecorder;
using LumoKit::Test::waitUntil;
using LumoKit::Test::WebPage;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;

struct Services {
    std::string name;
};

struct Call {
    std::string messageName;
    Value messageBody;
    const void* dependencies = nullptr;
    std::string dependenciesName;
};

class Handler : public ScriptMessageHandler<Services> {
public:
    explicit Handler(std::string name)
        : name(std::move(name))
    {
    }

    [[nodiscard]] std::string messageName() const override { return name; }

    void handleMessage(
        const std::string& messageName, const Value& messageBody, const Services& dependencies) override
    {
        calls.push_back({messageName, messageBody, &dependencies, dependencies.name});
    }

    std::vector<Call> calls;

private:
    const std::string name;
};

using Registry = WebViewMessageHandler<Services>;

std::shared_ptr<Registry> makeRegistry(Registry::Handlers handlers)
{
    return std::make_shared<Registry>(Services{"services"}, std::move(handlers));
}

void deliver(Registry& registry, const std::string& name, Value body = {})
{
    WKUserContentController controller;
    registry.userContentController(controller, {name, std::move(body)});
}

TEST(WebViewMessageHandler, RoutesEachMessageToTheHandlerOfItsName)
{
    static_cast<void>(NSApplication::shared());
    const auto opened = std::make_shared<Handler>("opened");
    const auto closed = std::make_shared<Handler>("closed");
    const auto registry = makeRegistry({opened, closed});
    WKWebViewConfiguration configuration;
    registry->registerHandlers(configuration);
    deliver(*registry, "closed", 1);
    deliver(*registry, "opened", "two");
    ASSERT_EQ(opened->calls.size(), 1U);
    EXPECT_EQ(opened->calls[0].messageName, "opened");
    EXPECT_EQ(opened->calls[0].messageBody, Value("two"));
    ASSERT_EQ(closed->calls.size(), 1U);
    EXPECT_EQ(closed->calls[0].messageBody, Value(1));
}

TEST(WebViewMessageHandler, RoutesMessagesOfARealPage)
{
    const auto opened = std::make_shared<Handler>("opened");
    const auto closed = std::make_shared<Handler>("closed");
    const auto configuration = std::make_shared<WKWebViewConfiguration>();
    makeRegistry({opened, closed})->registerHandlers(*configuration);
    WebPage page(configuration);
    ASSERT_TRUE(page.show(
        "<script>const h = webkit.messageHandlers;"
        "h.closed.postMessage(null); h.opened.postMessage({id: 7}); h.closed.postMessage([1])</script>"));
    ASSERT_TRUE(waitUntil([&] { return opened->calls.size() == 1 && closed->calls.size() == 2; }));
    EXPECT_EQ(opened->calls[0].messageBody, Value(Value::Dictionary{{"id", 7}}));
    EXPECT_EQ(closed->calls[0].messageBody, Value());
    EXPECT_EQ(closed->calls[1].messageBody, Value(Value::Array{1}));
}

TEST(WebViewMessageHandler, HandsTheSameDependenciesToEveryCall)
{
    static_cast<void>(NSApplication::shared());
    const auto first = std::make_shared<Handler>("first");
    const auto second = std::make_shared<Handler>("second");
    const auto registry = makeRegistry({first, second});
    WKWebViewConfiguration configuration;
    registry->registerHandlers(configuration);
    deliver(*registry, "first");
    deliver(*registry, "first");
    deliver(*registry, "second");
    ASSERT_EQ(first->calls.size(), 2U);
    EXPECT_EQ(first->calls[0].dependenciesName, "services");
    EXPECT_EQ(first->calls[0].dependencies, first->calls[1].dependencies);
    EXPECT_EQ(first->calls[0].dependencies, second->calls.at(0).dependencies);
}

TEST(WebViewMessageHandler, RegistersInListOrderAndKeepsTheList)
{
    static_cast<void>(NSApplication::shared());
    const auto b = std::make_shared<Handler>("b");
    const auto a = std::make_shared<Handler>("a");
    const auto registry = makeRegistry({b, a});
    WKWebViewConfiguration configuration;
    registry->registerHandlers(configuration);
    EXPECT_EQ(registry->unregisteredHandlers, (Registry::Handlers{b, a}));
    deliver(*registry, "a");
    EXPECT_EQ(a->calls.size(), 1U);
}

TEST(WebViewMessageHandler, RegistersNothingBeforeItIsTold)
{
    const auto registry = makeRegistry({std::make_shared<Handler>("opened")});
    EXPECT_DEATH(deliver(*registry, "opened"), "Fatal error: No hanlder found for message: message\\.name\n");
}

TEST(WebViewMessageHandler, StopsOnANameThatIsTaken)
{
    const auto configuration = std::make_shared<WKWebViewConfiguration>();
    const auto registry = makeRegistry({std::make_shared<Handler>("one"), std::make_shared<Handler>("two"),
        std::make_shared<Handler>("one")});
    EXPECT_DEATH(registry->registerHandlers(*configuration),
        "Sources/WebView/WebViewMessageHandler\\.cpp:[0-9]+: Fatal error: An handler for message 'one' "
        "already exists!\n");
}

TEST(WebViewMessageHandler, StopsWhenRegisteredASecondTime)
{
    const auto registry =
        makeRegistry({std::make_shared<Handler>("opened"), std::make_shared<Handler>("closed")});
    WKWebViewConfiguration first;
    registry->registerHandlers(first);
    WKWebViewConfiguration second;
    EXPECT_DEATH(
        registry->registerHandlers(first), "Fatal error: An handler for message 'opened' already exists!\n");
    EXPECT_DEATH(
        registry->registerHandlers(second), "Fatal error: An handler for message 'opened' already exists!\n");
}

/// The name reaches the platform before the registry checks it.
TEST(WebViewMessageHandler, AttachesANameBeforeItChecksIt)
{
    class Renaming : public Handler {
    public:
        using Handler::Handler;
        [[nodiscard]] std::string messageName() const override
        {
            ++reads;
            return Handler::messageName();
        }
        mutable int reads = 0;
    };
    static_cast<void>(NSApplication::shared());
    const auto handler = std::make_shared<Renaming>("opened");
    const auto registry = makeRegistry({handler});
    WKWebViewConfiguration configuration;
    registry->registerHandlers(configuration);
    EXPECT_EQ(handler->reads, 2); // once for the platform, once for the registry
}

TEST(WebViewMessageHandler, StopsOnAMessageWithoutAHandler)
{
    const auto registry = makeRegistry({});
    WKWebViewConfiguration configuration;
    registry->registerHandlers(configuration);
    EXPECT_DEATH(deliver(*registry, "anything"),
        "Sources/WebView/WebViewMessageHandler\\.cpp:[0-9]+: Fatal error: No hanlder found for message: "
        "message\\.name\n");
}

TEST(WebViewMessageHandler, StopsOnDependenciesOfAnotherType)
{
    struct Other { };
    class Mistaken : public ScriptMessageHandler<Other> {
        [[nodiscard]] std::string messageName() const override { return "mistaken"; }
        void handleMessage(const std::string&, const Value&, const Other&) override { }
    };
    const auto registry = makeRegistry({std::make_shared<Mistaken>()});
    WKWebViewConfiguration configuration;
    registry->registerHandlers(configuration); // nothing is checked yet
    EXPECT_DEATH(deliver(*registry, "mistaken"),
        "Fatal error: Could not cast value of type '.*Services' to '.*Other'\n");
}

TEST(WebViewMessageHandler, HasNoParameterlessConstructor)
{
    EXPECT_DEATH(static_cast<void>(std::make_shared<Registry>()),
        "Fatal error: Use of unimplemented initializer 'init\\(\\)' for class "
        "'LumoKit\\.WebViewMessageHandler'\n");
}

// Services behind interfaces: a handler that needs one service knows nothing of the host's container.

class HasGreeting : public virtual ServiceInterface {
public:
    [[nodiscard]] virtual std::string greeting() const = 0;
};
class HasFarewell : public virtual ServiceInterface {
public:
    [[nodiscard]] virtual std::string farewell() const = 0;
};
class Container : public HasGreeting, public HasFarewell {
public:
    [[nodiscard]] std::string greeting() const override { return "hello"; }
    [[nodiscard]] std::string farewell() const override { return "goodbye"; }
};

template <class Interface, auto member> class ServiceHandler : public ScriptMessageHandler<Interface> {
public:
    explicit ServiceHandler(std::string name)
        : name(std::move(name))
    {
    }
    [[nodiscard]] std::string messageName() const override { return name; }
    void handleMessage(const std::string&, const Value&, const Interface& dependencies) override
    {
        heard = (dependencies.*member)();
    }
    std::string heard;

private:
    const std::string name;
};
using GreetingHandler = ServiceHandler<HasGreeting, &HasGreeting::greeting>;
using FarewellHandler = ServiceHandler<HasFarewell, &HasFarewell::farewell>;

template <class Dependencies> void expectServices(Dependencies dependencies)
{
    static_cast<void>(NSApplication::shared());
    const auto greeting = std::make_shared<GreetingHandler>("greet");
    const auto farewell = std::make_shared<FarewellHandler>("part");
    const auto registry = std::make_shared<WebViewMessageHandler<Dependencies>>(
        std::move(dependencies), std::vector<std::shared_ptr<AnyScriptMessageHandler>>{greeting, farewell});
    WKWebViewConfiguration configuration;
    registry->registerHandlers(configuration);
    WKUserContentController controller;
    registry->userContentController(controller, {"greet", {}});
    registry->userContentController(controller, {"part", {}});
    EXPECT_EQ(greeting->heard, "hello");
    EXPECT_EQ(farewell->heard, "goodbye");
}

TEST(WebViewMessageHandler, OffersTheServicesOfAContainerOneByOne)
{
    expectServices(Container());
    expectServices(std::make_shared<Container>());
}

TEST(WebViewMessageHandler, StopsOnAServiceThatTheContainerLacks)
{
    class OnlyGreets : public HasGreeting {
        [[nodiscard]] std::string greeting() const override { return "hello"; }
    };
    const auto registry = std::make_shared<WebViewMessageHandler<OnlyGreets>>(OnlyGreets(),
        std::vector<std::shared_ptr<AnyScriptMessageHandler>>{std::make_shared<FarewellHandler>("part")});
    WKWebViewConfiguration configuration;
    registry->registerHandlers(configuration);
    WKUserContentController controller;
    EXPECT_DEATH(registry->userContentController(controller, {"part", {}}),
        "Fatal error: Could not cast value of type");
}

TEST(WebViewMessageHandler, LivesAndDiesWithTheView)
{
    const auto configuration = std::make_shared<WKWebViewConfiguration>();
    auto handler = std::make_shared<Handler>("opened");
    auto registry = makeRegistry({handler});
    const std::weak_ptr<Handler> weakHandler = handler;
    const std::weak_ptr<Registry> weakRegistry = registry;
    registry->registerHandlers(*configuration);
    registry.reset();
    handler.reset();

    auto page = std::make_unique<WebPage>(configuration);
    page->configuration.reset();
    ASSERT_TRUE(page->show("<p>page</p>"));
    EXPECT_FALSE(weakRegistry.expired());
    page->view->evaluateJavaScript("webkit.messageHandlers.opened.postMessage(1)");
    ASSERT_TRUE(waitUntil([&] { return weakHandler.lock()->calls.size() == 1; }));

    const_cast<std::shared_ptr<WKWebViewConfiguration>&>(configuration).reset();
    page.reset();
    EXPECT_TRUE(weakRegistry.expired());
    EXPECT_TRUE(weakHandler.expired());
}

} // namespace
