<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ru" sourcelanguage="en">
<context>
    <name>TConnector</name>
    <message>
        <source>Connection cut off: %0 has %1 bytes of a frame unfinished
</source>
        <translation>Соединение разорвано: %0 не закончил кадр, принято %1 байт
</translation>
    </message>
    <message>
        <source>Connections refused: %0 are open
</source>
        <translation>Соединения отклоняются: открыто %0
</translation>
    </message>
    <message>
        <source>Server name taken over: another process listens on %0
</source>
        <translation>Имя сервера перехвачено: на %0 слушает другой процесс
</translation>
    </message>
    <message>
        <source>Server name lost: new connections to %0 go to another process
</source>
        <translation>Имя сервера потеряно: новые соединения с %0 уходят другому процессу
</translation>
    </message>
    <message>
        <source>Start server: %1 Ok!!!! 
</source>
        <translation>Сервер запущен: %1 Ok!!!! 
</translation>
    </message>
    <message>
        <source>Start Error: %1
</source>
        <translation>Ошибка запуска: %1
</translation>
    </message>
    <message>
        <source>Connection cut off: %0 leaves %1 bytes unread
</source>
        <translation>Соединение оборвано: %0 не читает, ждут %1 байт
</translation>
    </message>
    <message>
        <source>New In Connection %0
</source>
        <translation>Новое входящее соединение %0
</translation>
    </message>
    <message>
        <source>New Out Connnection
</source>
        <translation>Новое исходящее соединение
</translation>
    </message>
    <message>
        <source>Connnection Out Error: %1 %2
</source>
        <translation>Ошибка исходящего соединения: %1 %2
</translation>
    </message>
    <message>
        <source>Connnection Disconnect: %0
</source>
        <translation>Исходящее соединение закрыто: %0
</translation>
    </message>
    <message>
        <source>Connection In Error: %0
</source>
        <translation>Ошибка входящего соединения: %0
</translation>
    </message>
    <message>
        <source>Connection in disconnection: %0
</source>
        <translation>Входящее соединение закрыто: %0
</translation>
    </message>
    <message>
        <source>Admin connection is closed. Stopping application.</source>
        <translation>Соединение с сервером администрирования закрыто. Приложение завершает работу.</translation>
    </message>
    <message>
        <source>Frame not sent: %0 bytes are too many
</source>
        <translation>Кадр не отправлен: %0 байт — слишком много
</translation>
    </message>
</context>
<context>
    <name>TServerPlugin</name>
    <message>
        <source>Cannot open database %1: %2</source>
        <translation>Не удалось открыть базу данных %1: %2</translation>
    </message>
    <message>
        <source>Database connection lost</source>
        <translation>Соединение с базой данных потеряно</translation>
    </message>
    <message>
        <source>Error load settings AdminServerName: NoName </source>
        <translation>Ошибка загрузки настроек AdminServerName: NoName </translation>
    </message>
    <message>
        <source>Error load settings ServerName: NoName </source>
        <translation>Ошибка загрузки настроек ServerName: NoName </translation>
    </message>
    <message>
        <source>Warrning: No Connections </source>
        <translation>Предупреждение: Connections не задано </translation>
    </message>
    <message>
        <source>Error load settings SocketMode: &quot;%1&quot; is neither user nor group, user is taken</source>
        <translation>Ошибка загрузки настроек SocketMode: &quot;%1&quot; — не user и не group, принято user</translation>
    </message>
</context>
</TS>
