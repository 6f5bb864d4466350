#include "access/personal_properties.h"

#include "registry/command_call.h"

#include <span>

namespace operators {

namespace {

/// Event-message kinds, rights and display switches, as they stand in "Id_PersProp" of "Person_Setup".
struct Property
{
    qint32 id;
    const char *text; ///< UTF-8
};

struct Group
{
    const char *heading; ///< UTF-8
    std::span<const Property> properties;
};

// Clients compare these texts with event texts that are written the same way: single Latin letters inside Russian
// words, dashes, trailing blanks and the order of the rows are kept as they are.

constexpr Property kEquipmentMessages[] = {
    {1, "Потеряна связь с объектом. "},
    {2, "Связь с объектом восстановлена. "},
    {8, "Мониторинговое cообщение-> "},
    {9, "Объект прекратил работу. "},
    {18, "Активный режим. "},
    {19, "Ждущий режим. "},
    {20, "Спящий режим. "},
    {22, "Резервное электропитание в норме. "},
    {26, "Внешнее электропитание восстановлено. "},
    {28, "Корпус блока закрыт. "},
    {30, " – отбой тревоги. "},
    {40, "Отбой тревоги. "},
    {47, "Нет навигации. "},
    {48, "Прием сигналов спутников восстановлен. "},
    {49, "Нормальная работа. "},
    {50, "Старт после аппаратного сброса. "},
    {51, "Блок включен менее 2-х минут назад. "},
    {52, "Cтарт после сброса по таймеру. "},
    {53, "Взят под охрану. "},
    {54, "Снят с охраны. "},
    {56, "Подогрев отключен. "},
    {68, "Заправка %1 л."},
    {100, "Версия прошивки: %1"},
    {101, "Начато считывание „черного ящика“. "},
    {102, "Завершено считывание „черного ящика“. "},
    {103, "Нет интернет соединения с блоками КДН-3. "},
    {104, "Неисправно оборудование для приема данных по УКВ. "},
    {105, "Команда выполнена. "},
    {110, "Нет данных с блоков КД-3 по каналу UDP. Проверьте соединение с интернет. "},
    {111, "Нет данных с трекеров Trekko по каналу UDP. Проверьте соединение с интернет. "},
    {112, "Произведена корректировка времени на сервере. Величина коррекции: %1 сек. "},
    {114, "Корректировка времени. Величина коррекции: %1 сек. "},
};

constexpr Property kAlarmMessages[] = {
    {17, "Тревога. "},
    {21, "Критическое состояние резервного электропитания. "},
    {25, "Переход на резервное электропитание. "},
    {27, "Несанкционированное вскрытие. "},
    {29, "Тревога – вторжение "},
    {39, "Тревога – нападение. "},
    {69, "Слив топлива %1 л."},
};

constexpr Property kMovementMessages[] = {
    {57, "Движение по графику. "},
    {58, "Вход в зону наблюдения. "},
    {59, "Выход из зоны наблюдения. "},
    {60, "Отставание от графика. "},
    {61, "Опережение графика. "},
    {64, "Вход в контрольную точку. "},
    {65, "Выход из контрольной точки. "},
    {66, "Нет прибытия в контрольную точку. "},
    {67, "Нет убытия из контрольной точки. "},
    {13, "Занят. "},
    {14, "Свободен. "},
    {15, "Прибыл на место. "},
    {16, "Приступил к исполнению. "},
    {302, "Объект неподвижен более %1 мин."},
    {303, "Скорость объекта выше %1 км/ч."},
};

constexpr Property kPermissions[] = {
    {201, "Наблюдение"},
    {202, "Управление"},
    {203, "Смена режима"},
    {204, "Настройка"},
};

constexpr Property kMapDisplay[] = {
    {211, "Автоматическое скрытие"},
    {212, "Автоматический показ"},
};

constexpr Group kGroups[] = {
    {"Получение сообщений с информацией о работе оборудования", kEquipmentMessages},
    {"Получение тревожных сообщений", kAlarmMessages},
    {"Получение сообщений о перемещении объекта", kMovementMessages},
    {"Разрешения", kPermissions},
    {"Показ объекта на карте", kMapDisplay},
};

void writeLine(keystone::ByteWriter &out, qint32 id, const char *text, std::size_t following)
{
    out << id << QByteArrayView(text) << static_cast<qint32>(following);
}

} // namespace

void getPersprop4objectsDesc(registry::CommandCall &call)
{
    call.out << static_cast<qint32>(std::size(kGroups));
    for (const Group &group : kGroups) {
        writeLine(call.out, 0, group.heading, group.properties.size());
        for (const Property &property : group.properties)
            writeLine(call.out, property.id, property.text, 0);
    }
}

} // namespace operators
