#include <string>

void compose(const std::string& link);

int main()
{
    compose("mailto:ada@example.com,bob@example.com?subject=Tea&body=To%20UNSUBSCRIBE%20see%20https://"
            "example.com/out");
    compose("https://example.com/");
}
