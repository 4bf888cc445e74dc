#include <LumoKit/Platform/Foundation/JSONEncoder.h>
#include <LumoKit/Platform/Native/Handles.h>

namespace LumoKit::detail {

JSONWriter::Written encodeData(JSONWriter& writer, const Data& data)
{
    const GText base64(g_base64_encode(reinterpret_cast<const guchar*>(data.data()), data.size()));
    return writer.text(base64.get());
}

} // namespace LumoKit::detail
