' Uses every member of the registered control, in one of three passes: "serial COMPORT",
' "connecting TERMINALPORT" or "listening LOCALPORT TERMINALPORT". Members.cpp does the same; what
' the two print is the same. A value in a variable reaches the control as a reference to it, an
' expression does not: each member is called with both.
Option Explicit
On Error Resume Next

Dim control, result, heard, socketState, progress
heard = ""
progress = ""
Set control = WScript.CreateObject("CronvelOCX.Cronvel", "Control_")
If Err.Number <> 0 Then
  WScript.Echo "no control: " & Err.Description
  WScript.Quit 3
End If

Function Described(value)
  Dim text
  If IsArray(value) Then
    text = LBound(value) & ".." & UBound(value) & Digits(value, UBound(value))
  ElseIf IsEmpty(value) Then
    text = "Empty"
  Else
    text = TypeName(value) & " " & value
  End If
  Described = text
End Function

Function Digits(bytes, last)
  Dim i, text
  For i = 0 To last
    text = text & " " & bytes(i)
  Next
  Digits = text
End Function

' Prints what became of a call.
Sub Said(what)
  Dim parts
  If Err.Number <> 0 Then
    ' Behind a bracket stands what the machine calls things.
    parts = Split(Err.Description, " (")
    WScript.Echo what & ": error " & Err.Number & " " & parts(0)
  Else
    WScript.Echo what & ": " & Described(result)
  End If
  Err.Clear
  result = Empty
End Sub

Sub Control_AddFileProgressInit(count)
  progress = progress & " of " & count
End Sub
Sub Control_AddFileProgressInc(count)
  progress = progress & " " & count
End Sub
Sub Control_DataReceivedForMonitoring(bytes, length)
  heard = heard & Digits(bytes, length - 1)
End Sub
Sub Control_WinSockDataReceived(bytes, length, host, address, loops, calls)
  heard = heard & Digits(bytes, length - 1)
End Sub
Sub Control_WinSockCurrentState(state)
  socketState = state
End Sub

' Waits for so many bytes and prints them, but for the time of day in a live event. That comes
' after the reply to the switch.
Sub Hear(what, count)
  Dim i, bytes, text
  For i = 1 To 50
    bytes = Split(heard, " ")
    If UBound(bytes) >= count Then Exit For
    WScript.Sleep 100
  Next
  text = what & ":"
  For i = 1 To UBound(bytes)
    If count = 9 And UBound(bytes) = 9 And (i = 6 Or i = 7) Then bytes(i) = "*"
    text = text & " " & bytes(i)
  Next
  WScript.Echo text
  heard = ""
End Sub

Sub AwaitState(wanted)
  Dim i
  For i = 1 To 100
    If socketState = wanted Then Exit For
    WScript.Sleep 50
  Next
  WScript.Sleep 200
End Sub

Function Table(count)
  Dim numbers, i
  ReDim numbers(count - 1)
  For i = 0 To count - 1
    numbers(i) = (i * 7) Mod 60
  Next
  Table = numbers
End Function

Sub Properties(comPort)
  On Error Resume Next
  Dim yes, text, number
  yes = True
  result = control.Enabled : Said "Enabled"
  control.Enabled = False : Said "Enabled ="
  result = control.Enabled : Said "Enabled"
  control.Enabled = yes : Said "Enabled ="
  result = control.CommPort : Said "CommPort"
  control.CommPort = 0 : Said "CommPort ="
  control.CommPort = comPort : Said "CommPort ="
  result = control.IdLen : Said "IdLen"
  control.IdLen = 6 : Said "IdLen ="
  control.IdLen = 7 : Said "IdLen ="
  result = control.IdLen : Said "IdLen"
  number = 4
  control.IdLen = number : Said "IdLen ="
  result = control.DialupConnection : Said "DialupConnection"
  control.DialupConnection = yes : Said "DialupConnection ="
  result = control.DialupConnection : Said "DialupConnection"
  control.DialupConnection = False : Said "DialupConnection ="
  result = control.TelNum : Said "TelNum"
  control.TelNum = "02188۱۲" : Said "TelNum ="
  result = control.TelNum : Said "TelNum"
  text = "0"
  control.TelNum = text : Said "TelNum ="
  result = control.BPS : Said "BPS"
  control.BPS = "19200" : Said "BPS ="
  result = control.BPS : Said "BPS"
  text = "9600"
  control.BPS = text : Said "BPS ="
  result = control.DeviceNum : Said "DeviceNum"
  control.DeviceNum = 159 : Said "DeviceNum ="
  result = control.DeviceNum : Said "DeviceNum"
  number = 1
  control.DeviceNum = number : Said "DeviceNum ="
  result = control.NumOfRecs : Said "NumOfRecs"
  control.NumOfRecs = 70000 : Said "NumOfRecs ="
  result = control.NumOfRecs : Said "NumOfRecs"
  number = -1
  control.NumOfRecs = number : Said "NumOfRecs ="
  result = control.DamagedRecs : Said "DamagedRecs"
  control.DamagedRecs = 70001 : Said "DamagedRecs ="
  result = control.DamagedRecs : Said "DamagedRecs"
  control.DamagedRecs = number : Said "DamagedRecs ="
  result = control.WinSockProtocol : Said "WinSockProtocol"
  control.WinSockProtocol = 1 : Said "WinSockProtocol ="
  result = control.WinSockProtocol : Said "WinSockProtocol"
  number = 0
  control.WinSockProtocol = number : Said "WinSockProtocol ="
  result = control.WinSockLocalPort : Said "WinSockLocalPort"
  control.WinSockLocalPort = 65535 : Said "WinSockLocalPort ="
  result = control.WinSockLocalPort : Said "WinSockLocalPort"
  control.WinSockLocalPort = number : Said "WinSockLocalPort ="
  result = control.WinSockRemotePort : Said "WinSockRemotePort"
  control.WinSockRemotePort = 65534 : Said "WinSockRemotePort ="
  result = control.WinSockRemotePort : Said "WinSockRemotePort"
  control.WinSockRemotePort = number : Said "WinSockRemotePort ="
  result = control.WinSockRemoteHost : Said "WinSockRemoteHost"
  control.WinSockRemoteHost = "127.0.0.2" : Said "WinSockRemoteHost ="
  result = control.WinSockRemoteHost : Said "WinSockRemoteHost"
  text = "127.0.0.1"
  control.WinSockRemoteHost = text : Said "WinSockRemoteHost ="
  ' These two go over the line.
  result = control.ReaderOn : Said "ReaderOn"
  control.ReaderOn = True : Said "ReaderOn ="
  result = control.ReaderOn : Said "ReaderOn"
  yes = False
  control.ReaderOn = yes : Said "ReaderOn ="
  result = control.MonitoringON : Said "MonitoringON"
  control.MonitoringON = True : Said "MonitoringON ="
  result = control.MonitoringON : Said "MonitoringON"
  control.MonitoringON = yes : Said "MonitoringON ="
End Sub

' The commands that connect on the network, as far as they are short.
Sub ShortByValue(host)
  On Error Resume Next
  result = control.SetDate((host), "15/08/06", 3) : Said "SetDate"
  result = control.SetDayLight((host), 21, 3, 22, 9) : Said "SetDayLight"
  result = control.SetKeyboard((host), 5) : Said "SetKeyboard"
  result = control.SetReaderOnOff((host), True) : Said "SetReaderOnOff"
  result = control.SetMainGroup((host), 42) : Said "SetMainGroup"
  result = control.SetSubGroup((host), 7) : Said "SetSubGroup"
  result = control.SetCode4((host), "1234") : Said "SetCode4"
  result = control.SetCode10((host), "12345@") : Said "SetCode10"
  result = control.SendMsg((host), "1234", "سلام 12") : Said "SendMsg"
  result = control.AddCardSimple((host), "1234") : Said "AddCardSimple"
  result = control.DeleteCardSimple((host), "1234") : Said "DeleteCardSimple"
  result = control.AddCardFile((host), "cards.txt") : Said "AddCardFile" & progress
  progress = ""
  result = control.DeleteCardAll((host)) : Said "DeleteCardAll"
  result = control.SetMode((host), 3) : Said "SetMode"
  result = control.SendModeStr((host), Array("ورود", "خروج", "", "abc", "۱۲۳", "5", "6", _
    "longer than sixteen")) : Said "SendModeStr"
  result = control.SendModeActive((host), Array(True, False, True, False, 1, 0, True, False))
  Said "SendModeActive"
  result = control.SetPersonAccessable((host), True) : Said "SetPersonAccessable"
  result = control.DefCards((host), Array(1, 2, 34, 56, 78, 99)) : Said "DefCards"
End Sub

Sub ShortByVariable(host)
  On Error Resume Next
  Dim text, more, number, second, third, fourth, flag, names(7), active(7), list, numbers(5), i
  text = "15/08/06" : number = 3
  result = control.SetDate(host, text, number) : Said "SetDate"
  number = 21 : second = 3 : third = 22 : fourth = 9
  result = control.SetDayLight(host, number, second, third, fourth) : Said "SetDayLight"
  number = 5
  result = control.SetKeyboard(host, number) : Said "SetKeyboard"
  flag = True
  result = control.SetReaderOnOff(host, flag) : Said "SetReaderOnOff"
  number = 42
  result = control.SetMainGroup(host, number) : Said "SetMainGroup"
  number = 7
  result = control.SetSubGroup(host, number) : Said "SetSubGroup"
  text = 1234
  result = control.SetCode4(host, text) : Said "SetCode4"
  text = "12345@"
  result = control.SetCode10(host, text) : Said "SetCode10"
  text = 1234 : more = "سلام 12"
  result = control.SendMsg(host, text, more) : Said "SendMsg"
  result = control.AddCardSimple(host, text) : Said "AddCardSimple"
  result = control.DeleteCardSimple(host, text) : Said "DeleteCardSimple"
  text = "cards.txt"
  result = control.AddCardFile(host, text) : Said "AddCardFile" & progress
  progress = ""
  result = control.DeleteCardAll(host) : Said "DeleteCardAll"
  number = 3
  result = control.SetMode(host, number) : Said "SetMode"
  list = Array("ورود", "خروج", Empty, "abc", "۱۲۳", 5, 6, "longer than sixteen")
  For i = 0 To 7
    names(i) = list(i)
    active(i) = (i Mod 2 = 0)
  Next
  result = control.SendModeStr(host, names) : Said "SendModeStr"
  result = control.SendModeActive(host, active) : Said "SendModeActive"
  result = control.SetPersonAccessable(host, flag) : Said "SetPersonAccessable"
  list = Array(1, 2, 34, 56, 78, 99)
  result = control.DefCards(host, list) : Said "DefCards"
  For i = 0 To 5
    numbers(i) = list(i)
  Next
  result = control.DefCards(host, numbers) : Said "DefCards"
End Sub

' What fails does so after the same bytes.
Sub Failing(host)
  On Error Resume Next
  result = control.SetMainGroup(host, 100) : Said "SetMainGroup"
  result = control.SetDayLight(host, 21, 160, 22, 9) : Said "SetDayLight"
  result = control.SendMsg(host, "70000", "") : Said "SendMsg"
  result = control.AddCardSimple(host, "16000") : Said "AddCardSimple"
  result = control.AddCardFile(host, "missing.txt") : Said "AddCardFile"
  result = control.SendModeStr(host, Array("1", "2")) : Said "SendModeStr"
  result = control.DefCards(host, Array(1, 2, 160)) : Said "DefCards"
  control.DeviceNum = 160
  result = control.SetKeyboard(host, 1) : Said "SetKeyboard"
  control.DeviceNum = 1
End Sub

' The commands that listen on the network.
Sub ListeningCommands(host)
  On Error Resume Next
  Dim time
  result = control.SetTime((host), "10:20:30") : Said "SetTime"
  result = control.SetTime((host), #10:20:31 AM#) : Said "SetTime"
  result = control.SetTime((host), 0.5) : Said "SetTime"
  time = CDate("2006-08-15 10:20:32")
  result = control.SetTime(host, time) : Said "SetTime"
  time = "10:20:33"
  result = control.SetTime(host, time) : Said "SetTime"
  result = control.SetTime(host, "nonsense") : Said "SetTime"
  result = control.TestConnection((host)) : Said "TestConnection"
  result = control.TestConnection(host) : Said "TestConnection"
  result = control.GetDeviceProperties((host)) : Said "GetDeviceProperties"
  result = control.GetDeviceProperties(host) : Said "GetDeviceProperties"
End Sub

Sub Monitoring(host)
  On Error Resume Next
  Dim flag
  heard = ""
  result = control.SetMonitoringOnOff((host), True) : Said "SetMonitoringOnOff"
  Hear "live event", 9
  flag = False
  If host <> "" Then
    result = control.SetMonitoringOnOff(host, flag) : Said "SetMonitoringOnOff"
    control.WinSockClose 0
  End If
  result = control.SetMonitoringOnOff(host, flag) : Said "SetMonitoringOnOff"
  result = control.MonitoringON : Said "MonitoringON"
End Sub

Sub Serial
  On Error Resume Next
  Dim timing(71), list, i, name, flag
  result = control.Hangup : Said "Hangup"
  Properties CInt(WScript.Arguments(1))
  WScript.Sleep 1000
  ListeningCommands ""
  Monitoring ""
  ShortByValue ""
  control.DeviceNum = 2
  ShortByVariable ""
  control.DeviceNum = 1
  Failing ""

  list = Table(72)
  For i = 0 To 71
    timing(i) = list(i)
  Next
  result = control.SetAlarm(Table(72)) : Said "SetAlarm"
  WScript.Sleep 1000
  result = control.SetAlarm(list) : Said "SetAlarm"
  WScript.Sleep 1000
  result = control.SetAlarm(timing) : Said "SetAlarm"
  WScript.Sleep 1000
  result = control.DefAlarms("", Table(210)) : Said "DefAlarms"

  result = control.GetData("", "all.Hex") : Said "GetData"
  result = control.NumOfRecs : Said "NumOfRecs"
  result = control.GetDataBuff("buffered.Hex") : Said "GetDataBuff"
  name = "buffered.Hex"
  result = control.GetDataBuff(name) : Said "GetDataBuff"
  result = control.GetDataByDate("", 1, 3, 26, 2, 3, 26, "dated.Hex") : Said "GetDataByDate"
  result = control.NumOfRecs : Said "NumOfRecs"
  result = control.CheckIntegrity("all.Hex", True) : Said "CheckIntegrity"
  name = "all.Hex"
  flag = False
  result = control.CheckIntegrity(name, flag) : Said "CheckIntegrity"
  result = control.CheckIntegrity("missing.Hex", flag) : Said "CheckIntegrity"
  result = control.DamagedRecs : Said "DamagedRecs"

  result = control.ResetMem("") : Said "ResetMem"
  name = ""
  result = control.ResetMem(name) : Said "ResetMem"
  control.DeviceNum = 3
  result = control.TestConnection("") : Said "TestConnection"
  control.CommPort = 77 : Said "CommPort ="
  result = control.TestConnection("") : Said "TestConnection"
End Sub

Sub Connecting
  On Error Resume Next
  Dim host, socket, bytes(2), byteValue, alarms(209), list, i, d1, m1, y1, d2, m2, y2, name
  host = "127.0.0.1"
  socket = 0
  control.WinSockRemotePort = CLng(WScript.Arguments(1)) : Said "WinSockRemotePort ="
  control.WinSockRemoteHost = host : Said "WinSockRemoteHost ="
  control.WinSockLocalPort = 0 : Said "WinSockLocalPort ="
  control.SetWinSockUDPMode 0 : Said "SetWinSockUDPMode"
  control.SetWinSockUDPMode socket : Said "SetWinSockUDPMode"

  control.WinSockConnect 0 : Said "WinSockConnect"
  AwaitState 7
  control.WinSockSendData 0, Array(1, 2, 18) : Said "WinSockSendData"
  Hear "reply", 1
  bytes(0) = 1 : bytes(1) = 2 : bytes(2) = 18
  control.WinSockSendData socket, bytes : Said "WinSockSendData"
  Hear "reply", 1
  control.WinSockListen 0 : Said "WinSockListen"
  control.WinSockClose 0 : Said "WinSockClose"
  AwaitState 0
  control.WinSockConnect socket : Said "WinSockConnect"
  AwaitState 7
  control.WinSockSendDataByte 0, 1 : Said "WinSockSendDataByte"
  control.WinSockSendDataByte 0, 2 : Said "WinSockSendDataByte"
  byteValue = 18
  control.WinSockSendDataByte socket, byteValue : Said "WinSockSendDataByte"
  Hear "reply", 1
  control.WinSockClose socket : Said "WinSockClose"
  AwaitState 0
  control.WinSockConnectToHost 0, "127.0.0.1" : Said "WinSockConnectToHost"
  AwaitState 7
  control.WinSockConnectToHost socket, host : Said "WinSockConnectToHost"
  WScript.Sleep 500
  control.WinSockClose 0 : Said "WinSockClose"
  control.WinSockSendDataByte 0, 1 : Said "WinSockSendDataByte"
  control.WinSockListen 9 : Said "WinSockListen"

  ShortByValue host
  control.DeviceNum = 2
  ShortByVariable host
  control.DeviceNum = 1
  Failing host
  list = Table(210)
  For i = 0 To 209
    alarms(i) = list(i)
  Next
  result = control.DefAlarms(host, alarms) : Said "DefAlarms"
  d1 = 1 : m1 = 3 : y1 = 26 : d2 = 2 : m2 = 3 : y2 = 26 : name = "dated.Hex"
  result = control.GetDataByDate(host, d1, m1, y1, d2, m2, y2, name) : Said "GetDataByDate"
  result = control.ResetMem((host)) : Said "ResetMem"
  result = control.ResetMem(host) : Said "ResetMem"
End Sub

Sub Listening
  On Error Resume Next
  Dim host, port, socket, name, flag
  port = CLng(WScript.Arguments(1))
  socket = 0
  control.WinSockLocalPort = port : Said "WinSockLocalPort ="
  control.SetWinSockTCPMode 0 : Said "SetWinSockTCPMode"
  control.SetWinSockTCPMode socket : Said "SetWinSockTCPMode"
  control.SetWinSockLocalPort 0, CLng(port) : Said "SetWinSockLocalPort"
  control.SetWinSockLocalPort socket, port : Said "SetWinSockLocalPort"
  control.WinSockListen 0 : Said "WinSockListen"
  AwaitState 7
  control.WinSockSendData 0, Array(1, 2, 18) : Said "WinSockSendData"
  Hear "reply", 1
  control.WinSockClose 0 : Said "WinSockClose"
  AwaitState 0
  control.WinSockListen socket : Said "WinSockListen"
  control.WinSockListen socket : Said "WinSockListen"
  control.WinSockClose socket : Said "WinSockClose"

  ListeningCommands "terminal-" & port
  result = control.TestConnection("terminal-port") : Said "TestConnection"
  control.SetWinSockTCPMode 0 : Said "SetWinSockTCPMode"
  host = "any"
  Monitoring host
  result = control.GetData(host, "listened.Hex") : Said "GetData"
  name = "listened.Hex"
  result = control.GetData("any", name) : Said "GetData"

  control.DeviceNum = 2
  host = "terminal-" & (port + 1)
  result = control.SetMonitoringOnGroup(host, True) : Said "SetMonitoringOnGroup"
  flag = False
  result = control.SetMonitoringOffGroup(host, flag) : Said "SetMonitoringOffGroup"
  result = control.SetMonitoringOnGroup((host), True) : Said "SetMonitoringOnGroup"
  result = control.SetMonitoringOffGroup((host), False) : Said "SetMonitoringOffGroup"
  result = control.SetMonitoringOnGroup("", True) : Said "SetMonitoringOnGroup"
  control.WinSockRemotePort = CLng(WScript.Arguments(2))
  control.WinSockRemoteHost = "127.0.0.1"
  control.WinSockLocalPort = 0
  control.SetWinSockUDPMode 0 : Said "SetWinSockUDPMode"
  result = control.StartMonitoringGroup : Said "StartMonitoringGroup"
  WScript.Sleep 500
  control.WinSockClose 0 : Said "WinSockClose"
End Sub

Select Case WScript.Arguments(0)
  Case "serial" : Serial
  Case "connecting" : Connecting
  Case "listening" : Listening
End Select
Said "end"
