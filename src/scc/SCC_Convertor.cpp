// The convertor that converts nothing: the base of the properties' convertors.
#include <mortar/scc/SCC_Convertor.h>

SCC_Convertor::~SCC_Convertor() = default;

SCC_Variant SCC_Convertor::Convert(SCC_Variant value, int flag) {
    (void)flag;
    return value;
}
