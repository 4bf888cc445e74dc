#include <LumoKit/MailTo/MailToManager.h>

struct MailHost {
    void compose(const MailToParseResult&) { }
};

void receiveMail(const std::shared_ptr<MailHost>& host)
{
    // the fragment
}
