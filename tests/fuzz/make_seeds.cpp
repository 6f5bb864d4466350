// Writes the inputs that the fuzzers begin with, put together by hand as in the tests: make_seeds FOLDER makes
// FOLDER/<target>/<number> for each.

#include "bytes.h"
#include "command_names.h"
#include "operator_bytes.h"
#include "registry_bytes.h"

#include <QDir>
#include <QFile>

#include <algorithm>

using namespace support;

namespace {

class Seeds
{
public:
    Seeds(const QString &folder, const QString &target)
        : m_folder(folder + QLatin1Char('/') + target)
    {
        if (!QDir().mkpath(m_folder.path()))
            qFatal("cannot make %s", qPrintable(m_folder.path()));
    }

    void add(const QByteArray &input)
    {
        QFile file(m_folder.filePath(QString::number(++m_number)));
        if (!file.open(QIODevice::WriteOnly) || file.write(input) != input.size())
            qFatal("cannot write %s", qPrintable(file.fileName()));
    }

private:
    QDir m_folder;
    int m_number = 0;
};

QByteArrayList frames()
{
    return {greeting("own"),
            command("Get_object_card_v2", i32(17), 4),
            commandWithNoData("About", 7),
            answer("About", "", 4),
            savedCard(17),
            data(1, "record"),
            data(0, ""),
            frame(204, bytes("i") + bytes("data") + i32(3)),
            i32(0),
            i32(-1),
            i32(50'000'001)};
}

void addFrames(const QString &folder)
{
    Seeds cutter(folder, "fuzz_frame_cutter");
    Seeds frame(folder, "fuzz_frame");
    for (const QByteArray &one : frames()) {
        cutter.add(QByteArray(2, '\5') + one);
        if (one.size() > 4)
            frame.add(one.mid(4));
    }
    cutter.add("ab" + frames().join());
    cutter.add(QByteArray("\0\1", 2) + frames().mid(0, 6).join().chopped(2));
}

void addSettings(const QString &folder)
{
    Seeds seeds(folder, "fuzz_settings");
    seeds.add("[Base]\nLogName=/tmp/a.log\nLog=2\nAdminServerName=admin\nServerName=own\nConnections=a b\n"
              "SocketMode=group\n");
    seeds.add("[Base]\nDbHost=a,b\nDbPort=1,2\nDbPassword=p;w\nDbOptions=\"sslmode=require;connect_timeout=5\"\n");
    seeds.add("; comment\n[Base]\nDbPassword=a\\\\b\\\"c\\x418\\n\\t\nDbHost = \"x\" , y ;z\n");
    seeds.add("[General]\nkey=1\n[Other]\na\\b=2\n%20=3\n[Base]\nDbHost=first\nDbHost=second,third\n");
    seeds.add("\xEF\xBB\xBF[Base]\r\nServerName=\xD0\xB8\xD0\xBC\xD1\x8F\r\n[unfinished\nno value\n=no key\n");
}

void addBlobs(const QString &folder)
{
    Seeds seeds(folder, "fuzz_blobs");
    const SensorFields sensor{"fuel", "l", 1, 2, 'a', {"low", "high"}, "x*2", "rate"};
    const QByteArray card = cardRecord({-1, "name", "Имя", 10, "value", 't'});
    const QByteArray command = commandRecord({"lock", "d", 2, "modem", 1, 7});
    const QByteArray parameter = parameterRecord({"par", "v", "d", 1, 3});
    const auto choose = [](int reader) { return QByteArray(1, char(reader)); };
    seeds.add(choose(0) + i32(10) + bytes("value") + i16('t'));
    seeds.add(choose(1) + text("l") + i32(1) + i16(2) + i16('a') + labels({"low", "high"}) + text("x*2") + bytes("r"));
    seeds.add(choose(2) + i32(2) + bytes("modem"));
    seeds.add(choose(3) + bytes("v") + i32(1));
    seeds.add(choose(4) + card);
    seeds.add(choose(5) + sensorRecord(sensor));
    seeds.add(choose(6) + command);
    seeds.add(choose(7) + parameter);
    seeds.add(choose(8) + "low;high;;");
    for (const QByteArray &value : {QByteArray("17"), QByteArray("t"), QByteArray("-2147483648.5"), i32(17),
                                    i32(0) + i32(17), i16(5), QByteArray("имя")}) {
        for (int how = 0; how < 6; ++how)
            seeds.add(choose(9) + QByteArray(1, char(how)) + value);
    }
    seeds.add(choose(10) + i8(0) + i32(201) + i8(1) + i32(0) + i8(0) + i32(-1));
    const QByteArray row =
        i16(3) + i32(4) + i32(17) + i32(-1) + i32(28) + i32(1) + i32(0) + i32(23) + i32(1) + i32(1) + i32(4) + i32(201);
    seeds.add(choose(18) + row);
    seeds.add(choose(18) + QByteArray("PGCOPY\n\377\r\n\0", 11) + i32(0) + i32(2) + "ex" + row);
}

class Requests
{
public:
    explicit Requests(const QString &folder)
        : m_seeds(folder, "fuzz_requests")
    {}

    void add(const char *name, const QByteArray &request)
    {
        const auto found = std::find_if(fuzz::kCommandNames.begin(), fuzz::kCommandNames.end(),
                                        [name](const char *known) { return qstrcmp(known, name) == 0; });
        if (found == fuzz::kCommandNames.end())
            qFatal("no command %s", name);
        m_seeds.add(QByteArray(1, char(found - fuzz::kCommandNames.begin())) + request);
    }

    void addBlob(int rows, const QByteArray &blob)
    {
        m_seeds.add(QByteArray(1, char(fuzz::kStoredBlob)) + QByteArray(1, char(rows)) + blob);
    }

private:
    Seeds m_seeds;
};

void addObjectRequests(Requests &requests)
{
    const QByteArray property = cardRecord({-1, "name", "Имя", 10, "new", 't'});
    const QByteArray another = cardRecord({3, "note", "", 2, "x", 'f'});
    const QByteArray sensor = sensorRecord({"fuel", "l", 1, 3, 'a', {"low", "high"}, "x", "r"});
    const QByteArray control = commandRecord({"lock", "d", 2, "modem", 2}) + parameterRecord({"par", "v", "d", 1}) +
                               parameterRecord({"two", "", "", 2});
    for (const char *name : {"Get_object_card_v2", "Get_sensors_v2", "Get_command_desc_v2"})
        requests.add(name, i32(17));
    requests.add("Save_object_card_v2", i32(17) + i32(2) + property + another);
    requests.add("Update_object_card_field", i32(17) + i32(1) + i32(1) + property);
    requests.add("Fix_property_multi_objs_v2", i8(1) + numbers({17, 18}) + property);
    requests.add("Fix_property_multi_objs_v2", i8(0) + numbers({17, 18}) + text("note"));
    requests.add("Fix_object_v2", i32(0) + bytes("born"));
    requests.add("Fix_object_v2", i32(17) + bytes("renamed"));
    requests.add("Fix_object_v2", i32(-17));
    requests.add("Save_sensors_v2", i32(17) + i32(1) + sensor);
    requests.add("Fix_sensor_multi_objs_v2", i8(1) + numbers({17, 18}) + sensor);
    requests.add("Fix_sensor_multi_objs_v2", i8(0) + numbers({17, 18}) + text("fuel"));
    requests.add("Save_command_desc_v2", i32(17) + i32(1) + control);
    requests.add("Fix_cmd_desc_multi_objs_v2", i8(1) + numbers({17, 18}) + control);
    requests.add("Fix_cmd_desc_multi_objs_v2", i8(0) + numbers({17}) + text("lock"));
    requests.add("Save_objects_tree", i32(2) + i32(1) + i32(0) + bytes("all") + i32(2) + i32(1) + bytes("some") +
                                          i32(2) + i32(1) + i32(17) + i32(2) + i32(18));
}

void addOperatorRequests(Requests &requests)
{
    requests.add("Fix_user", accountRequest(0, {"new", "p", "d", "e", "t", 1}));
    requests.add("Fix_user", accountRequest(5, {"petrov", "p"}));
    requests.add("Fix_user", i32(-5));
    requests.add("Get_personalsetup4objects_X", i32(4));
    requests.add("Fix_personal_setup_changes", setupChange(1, 4, {17, 18}, {101}, {201, 202}));
    requests.add("Copy_personal_setup", setupCopy(1, 4, {5, 4}));
    requests.add("Get_object_command", i32(17) + i32(2));
    requests.add("Get_command_params", i32(7));
    requests.add("Save_params", i32(0) + i32(7) + i32(1) + bytes("par") + bytes("value"));
    for (const char *words : {"", "seven", "%", "_'", "x') OR ('1'='1"})
        requests.add("Advanced_search", text(words));
    requests.add("Get_objs_by_condition_v2", text("seven%") + text("name"));
    requests.add("Get_objs_by_condition_v2", text("%o%") + text(""));
    for (const char *statement :
         {"SELECT \"Id\" FROM \"Objects\"", "SELECT 1; SELECT 2", "SELECT 1.5, 'x'", "BEGIN; SELECT 1",
          "COPY \"Objects\" TO STDOUT", "SET search_path = archive", "SELECT", "DELETE FROM \"Objects\"", ""})
        requests.add("Get_objs_by_query_v2", text(statement));
}

void addTemplateRequests(Requests &requests)
{
    const QByteArray property = cardRecord({-1, "name", "", 10, "x", 't'});
    const QByteArray sensor = sensorRecord({"fuel", "l", 1, 3, 'a', {"low"}, "x", "r"});
    const QByteArray control = commandRecord({"lock", "d", 2, "modem", 1}) + parameterRecord({"par", "v", "d", 1});
    requests.add("Fix_template_desc_v2", i32(0) + bytes("van"));
    requests.add("Fix_template_desc_v2", i32(5) + bytes("van"));
    requests.add("Fix_template_desc_v2", i32(-5));
    for (const char *name : {"Get_template_card_v2", "Get_template_sensors_v2", "Get_template_controls_v2"}) {
        requests.add(name, i32(5));
        requests.add(name, i32(-3));
    }
    requests.add("Save_template_card_v2", i32(5) + i32(1) + property);
    requests.add("Save_template_sensors_v2", i32(5) + i32(1) + sensor);
    requests.add("Save_template_controls_v2", i32(5) + i32(1) + control);
    const QByteArray texts =
        i32(3) + text("name") + text("n") + text("modem") + text("100") + text("subdivision") + text("north");
    requests.add("Create_obj_by_template_v2", i32(5) + texts);
    requests.add("Create_obj_by_template_v2", i32(-3) + i32(2) + text("name") + text("n") + text("modem") + text("m"));
    requests.add("Copy_template_v2", i32(5) + text("copy"));
    requests.addBlob(0, i32(10) + bytes("value") + i16('t'));
    requests.addBlob(1, text("l") + i32(1) + i16(2) + i16('a') + labels({"low", "high"}) + text("x") + bytes("r"));
    requests.addBlob(2, i32(2) + bytes("modem"));
    requests.addBlob(3, bytes("v") + i32(1));
}

void addRequests(const QString &folder)
{
    Requests requests(folder);
    // Every command at least once, so that the fuzzer meets all first bytes.
    for (const char *name : fuzz::kCommandNames)
        requests.add(name, QByteArray());
    addObjectRequests(requests);
    addOperatorRequests(requests);
    addTemplateRequests(requests);
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 2)
        qFatal("usage: make_seeds FOLDER");
    const QString folder = QFile::decodeName(argv[1]);
    addFrames(folder);
    addSettings(folder);
    addBlobs(folder);
    addRequests(folder);
    return 0;
}
