#include "Support/WebPage.h"

#include <LumoKit/Platform/WebKit/WKScriptMessage.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace LumoKit;
using LumoKit::Test::waitUntil;
using LumoKit::Test::WebPage;

/// One page for all that can be seen in one: every test case posts from it and looks at what arrived.
class ScriptMessageBody : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        page = std::make_unique<WebPage>();
        ASSERT_TRUE(page->show("<p>page</p>"));
    }
    static void TearDownTestSuite() { page.reset(); }

    static Value posted(const std::string& expression)
    {
        const auto body =
            page->messageAfter("webkit.messageHandlers.test.postMessage(" + expression + ");undefined");
        EXPECT_TRUE(body) << "nothing arrived for " << expression;
        return body.value_or(Value("nothing arrived"));
    }

    static inline std::unique_ptr<WebPage> page;
};

TEST_F(ScriptMessageBody, ArrivesAsTheValueThatWasPosted)
{
    const Value::Dictionary empty;
    const std::vector<std::pair<const char*, Value>> cases = {
        {"null", Value()},
        {"undefined", Value()},
        {"true", Value(true)},
        {"false", Value(false)},
        {"0", Value(0)},
        {"-0", Value(-0.0)},
        {"42", Value(42)},
        {"-7", Value(-7)},
        {"1.5", Value(1.5)},
        {"2147483648", Value(2147483648)},
        {"9007199254740991", Value(9007199254740991)},
        {"9007199254740992", Value(9007199254740992)},
        {"18014398509481984", Value(18014398509481984.0)},
        {"1e300", Value(1e300)},
        {"5e-324", Value(5e-324)},
        {"Infinity", Value(std::numeric_limits<double>::infinity())},
        {"-Infinity", Value(-std::numeric_limits<double>::infinity())},
        {"''", Value("")},
        {"'plain'", Value("plain")},
        {R"('h\u00e9 \u4e2d')", Value("hé 中")},
        {R"('\ud83d\ude00')", Value("😀")},
        {R"('a\0b')", Value(std::string_view("a\0b", 3))},
        {R"('a\ud800b')", Value("a\uFFFDb")},
        {R"('\udc00')", Value("\uFFFD")},
        {R"('\u00e9\ud800')", Value("é\uFFFD")},
        {"new Date(1500)", Value(Date(std::chrono::duration<double>(1.5)))},
        {"new Date(-86400000)", Value(Date(std::chrono::duration<double>(-86400)))},
        {"new Date(NaN)", Value()},
        {"[]", Value(Value::Array{})},
        {"[1, 'two', null, [3.5]]", Value(Value::Array{1, "two", Value(), Value::Array{3.5}})},
        {"[1, , 3]", Value(Value::Array{1, Value(), 3})},
        {"({})", Value(empty)},
        {"({a: 1, b: {c: [true]}})",
            Value(Value::Dictionary{{"a", 1}, {"b", Value::Dictionary{{"c", Value::Array{true}}}}})},
        {"({'': 1, 'h\\u00e9': 2, 7: 3})", Value(Value::Dictionary{{"", 1}, {"hé", 2}, {"7", 3}})},
        {"new String('boxed')",
            Value(Value::Dictionary{{"0", "b"}, {"1", "o"}, {"2", "x"}, {"3", "e"}, {"4", "d"}})},
        {"/expression/", Value(empty)},
        {"new Map([[1, 2]])", Value(empty)},
    };
    for (const auto& [expression, expected] : cases)
        EXPECT_EQ(posted(expression), expected)
            << expression << " arrived as " << posted(expression).description();
}

TEST_F(ScriptMessageBody, KeepsWhatIsNotANumber)
{
    const auto number = posted("NaN").asNumber();
    ASSERT_TRUE(number);
    EXPECT_TRUE(std::isnan(*number));
}

TEST_F(ScriptMessageBody, KeepsTheLengthOfEveryText)
{
    // Buffers grow in steps; a text ends where it ends.
    for (std::size_t length = 0; length < 70; ++length) {
        const std::string count = std::to_string(length);
        EXPECT_EQ(posted("'x'.repeat(" + count + ")"), Value(std::string(length, 'x')));
        EXPECT_EQ(posted("['y'.repeat(" + count + ") + '\\u00e9']"),
            Value(Value::Array{std::string(length, 'y') + "é"}));
    }
}

TEST_F(ScriptMessageBody, KeepsTenMegabytesOfText)
{
    const Value ascii = posted("'x'.repeat(10000000)");
    ASSERT_TRUE(ascii.asText());
    EXPECT_EQ(*ascii.asText(), std::string(10'000'000, 'x'));

    const Value wide = posted(R"('\u4e2d'.repeat(3500000))");
    ASSERT_TRUE(wide.asText());
    EXPECT_EQ(wide.asText()->size(), 10'500'000U);
    EXPECT_TRUE(wide.asText()->ends_with("中"));
}

TEST_F(ScriptMessageBody, ReadsACycleAsNull)
{
    const Value body = posted("(() => { const a = {name: 'a'}; a.self = a; a.list = [a]; return a; })()");
    EXPECT_EQ(
        body, Value(Value::Dictionary{{"name", "a"}, {"self", Value()}, {"list", Value::Array{Value()}}}));
}

TEST_F(ScriptMessageBody, SharesWhatIsReferredToManyTimes)
{
    // Written out, this tree has two to the fortieth leaves.
    const Value body =
        posted("(() => { let t = {leaf: 1}; for (let i = 0; i < 40; ++i) t = {l: t, r: t}; return t; })()");
    const Value* walk = &body;
    for (int depth = 0; depth < 40; ++depth) {
        ASSERT_TRUE(walk->asDictionary()) << depth;
        walk = &(*walk)["r"];
    }
    EXPECT_EQ((*walk)["leaf"], Value(1));
}

TEST_F(ScriptMessageBody, ReadsNestingUpToItsLimit)
{
    const Value body =
        posted("(() => { let t = 'end'; for (let i = 0; i < 5000; ++i) t = [t]; return t; })()");
    const Value* walk = &body;
    int depth = 0;
    for (; walk->asArray() && !walk->asArray()->empty(); ++depth)
        walk = &(*walk)[0];
    EXPECT_EQ(depth, Value::maximumDepth);
    EXPECT_TRUE(walk->isNull());

    const Value shallow =
        posted("(() => { let t = 'end'; for (let i = 0; i < 512; ++i) t = [t]; return t; })()");
    walk = &shallow;
    while (walk->asArray())
        walk = &(*walk)[0];
    EXPECT_EQ(*walk, Value("end"));
}

TEST_F(ScriptMessageBody, FillsTheHolesOfASparseArray)
{
    const Value body = posted("(() => { const a = []; a[100000] = 'last'; return a; })()");
    ASSERT_TRUE(body.asArray());
    EXPECT_EQ(body.asArray()->size(), 100'001U);
    EXPECT_TRUE(body[99'999].isNull());
    EXPECT_EQ(body[100'000], Value("last"));
}

TEST_F(ScriptMessageBody, LargeTreesArriveWhole)
{
    const Value body =
        posted("Array.from({length: 20000}, (_, i) => ({id: i, tags: ['a', 'b'], at: {x: i / 2}}))");
    ASSERT_TRUE(body.asArray());
    ASSERT_EQ(body.asArray()->size(), 20'000U);
    for (std::size_t index : {0U, 4096U, 19'999U}) {
        EXPECT_EQ(body[index]["id"], Value(static_cast<int>(index)));
        EXPECT_EQ(body[index]["tags"], Value(Value::Array{"a", "b"}));
        EXPECT_EQ(body[index]["at"]["x"].asNumber(), static_cast<double>(index) / 2);
    }
}

/// What a page may post that is no data. Each is posted in a try block; whether the page gets an exception or
/// the host a message is the engine's affair, but the host stays whole and hears what is posted afterwards.
TEST_F(ScriptMessageBody, SurvivesWhatIsNoData)
{
    const std::vector<const char*> hostile = {
        "() => 1",
        "Symbol('s')",
        "class {}",
        "({get a() { throw new Error('getter') }})",
        "({f() {}, s: Symbol.iterator, n: 1})",
        "new Proxy({}, {get() { throw 1 }, ownKeys() { throw 2 }})",
        "new Proxy([], {get(t, k) { return k === 'length' ? 5 : {} }})",
        "({toJSON() { throw 1 }, toString() { throw 2 }, valueOf() { throw 3 }})",
        "Object.create(null)",
        "Object.create({inherited: 1})",
        "window",
        "document",
        "document.body",
        "new Error('e')",
        "10n",
        "new Uint8Array([1, 2])",
        "new ArrayBuffer(16)",
        "new Set([1])",
        "new Promise(() => {})",
        "new WeakMap()",
        "(function () { return arguments })(1, 2)",
        "Object.defineProperty([], 'length', {value: 3})",
        "Object.assign(new Date(5), {extra: 1})",
    };
    for (const char* expression : hostile) {
        const Value body = posted(std::string("'go');try { webkit.messageHandlers.test.postMessage(")
            + expression + ") } catch (e) {}(0");
        EXPECT_EQ(body, Value("go")) << expression;
        EXPECT_TRUE(waitUntil([&] { return page->evaluate("'alive'").first == Value("alive"); }))
            << expression;
    }
}

TEST_F(ScriptMessageBody, NeverRunsAGetterTwice)
{
    // A getter runs in the page when it posts; what the host reads is a copy.
    const Value body = posted("(() => { let calls = 0; return {get a() { return ++calls }} })()");
    const auto first = body["a"].asInteger();
    ASSERT_TRUE(first);
    EXPECT_EQ(body["a"].asInteger(), first);
    EXPECT_EQ(page->evaluate("'alive'").first, Value("alive"));
}

} // namespace
