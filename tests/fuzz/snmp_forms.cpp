#include <cstdint>
#include <string>
#include <string_view>

#include "snmp/base64.h"
#include "snmp/mime_message.h"
#include "snmp/snmp_message.h"
#include "snmp/xml_text.h"
#include "tests/fuzz/mutation.h"
#include "tests/fuzz/snmp_computing.h"
#include "tests/fuzz/valid_forms.h"

namespace ksp::test {

namespace {

using namespace ksp::snmp;

std::string ResponseForm(Random& random) {
    static const CObjectId kIds[] = {{1, 3, 6, 1, 2, 1, 25, 3, 5, 1, 1, 1},
                                     {1, 3, 6, 1, 2, 1, 2, 2, 1, 6, 7},
                                     {1, 3, 6, 1, 2, 1, 4, 20, 1, 2, 127, 0, 0, 1},
                                     {2, 999, 4294967295}};
    Bytes binding;
    AppendObjectId(binding, random.Of(kIds));
    switch (random.Below(4)) {
        case 0:
            AppendInteger(binding, static_cast<std::int32_t>(random.Next() & 0xFFFFFFFF));
            break;
        case 1:
            AppendOctets(binding, std::string("\x00\x26\xAB\x12\x34\x56", 6));
            break;
        case 2:
            AppendOctets(binding, "MFG:Kestrel;<&>\xFF");
            break;
        default:
            AppendElement(binding, random.OneIn(2) ? BerTag::kCounter32 : BerTag::kNoSuchInstance, {});
            break;
    }
    Bytes list;
    AppendElement(list, BerTag::kSequence, binding);
    Bytes pdu;
    AppendInteger(pdu, static_cast<std::int32_t>(random.Below(100000)));
    AppendInteger(pdu, random.OneIn(4) ? 2 : 0);
    AppendInteger(pdu, 0);
    AppendElement(pdu, BerTag::kSequence, list);
    Bytes message;
    AppendInteger(message, static_cast<std::int32_t>(random.Below(3)));
    AppendOctets(message, "public");
    AppendElement(message, BerTag::kResponse, pdu);
    Bytes bytes;
    AppendElement(bytes, BerTag::kSequence, message);
    return {bytes.begin(), bytes.end()};
}

std::string DocumentForm(Random& random) {
    constexpr const char* kDocuments[] = {
        "<DeviceHandleSetting><TimeOut>20000</TimeOut><Retry>2</Retry><RetryInterval>5000"
        "</RetryInterval></DeviceHandleSetting>",
        R"(<ProbeMode><Mode Type="IP" OverRouter="TRUE"><SubnetAddressList><Address )"
        R"(networkAddress="127.0.0.0" subnetMask="255.255.0.0" /></SubnetAddressList></Mode>)"
        R"(<Protocol p="KSPC" ip="IPv4" /><TimeOut>1</TimeOut></ProbeMode>)",
        R"(<GetData><DataInfo><Data><Group id="access=MIB;oid=1.3.6.1.2.1.25.3.5.1.1;type=integer;)"
        R"(rtype=GetNextRequest" recvtype="mime" action="RW"/></Data></DataInfo></GetData>)"};
    return std::string(kXmlDeclaration) + random.Of(kDocuments);
}

}  // namespace

std::string MakeSnmpForm(Form form, Random& random) {
    switch (form) {
        case Form::kSnmpDatagram:
            return MutatedBytes(random, ResponseForm(random),
                                {"\x30\x80", "\x30\x84\x7F\xFF\xFF\xFF", "\x02\x01", "\x06"});
        case Form::kMimeMessage:
            return MutatedBytes(random, MakeMimeReply("\x04"),
                                {"--", "=_ksp_part", "\r\n", "\n", ";", "\"", "name=", "boundary="});
        case Form::kBase64:
            return MutatedBytes(random, EncodeBase64(CapabilityForm(random)), {"=", "==", "\r\n"});
        case Form::kXmlText:
            return MutatedBytes(random, DocumentForm(random), XmlWords());
        default:
            return "";
    }
}

}  // namespace ksp::test
