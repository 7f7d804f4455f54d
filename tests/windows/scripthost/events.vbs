'$ PORT
'> First 2 3 3 127.0.0.1
'> Second 1 2 3 3 127.0.0.1 0 0
'> Second 4 5
'> nobody listens there any more
'= 0
' Arguments of every kind: each procedure has its own, whatever the one before it wrote.
Option Explicit
Dim control, peer, seen, arrived
Sub First_WinSockDataReceived(bytes, count, host, address, loops, calls)
  seen = seen + 1
  If seen = 2 Then
    bytes = Array(9, "8")
    Exit Sub
  End If
  WScript.Echo "First", UBound(bytes), bytes(UBound(bytes)), count, address
  bytes(0) = 10
  bytes(1) = "20"
  bytes(2) = bytes(2) * 10
  host = "پیش"
  loops = "7"
  calls = 70000
End Sub
Sub SECOND_winsockdatareceived(bytes, count, host, address, loops, calls)
  If seen = 1 Then
    WScript.Echo "Second", bytes(0), bytes(1), bytes(2), count, host, loops, calls
  Else
    WScript.Echo "Second", bytes(0), bytes(1)
    WScript.DisconnectObject control
  End If
  arrived = True
End Sub
Sub Send(bytes)
  arrived = False
  peer.WinSockSendData 0, bytes
  Do Until arrived
    WScript.Sleep 10
  Loop
End Sub

Set control = WScript.CreateObject("CronvelOCX.Cronvel", "First_")
WScript.ConnectObject control, "Second_"
control.SetWinSockLocalPort 0, WScript.Arguments(0)
control.WinSockListen 0
Set peer = CreateObject("CronvelOCX.Cronvel")
peer.WinSockRemotePort = WScript.Arguments(0)
peer.SetWinSockUDPMode 0
peer.WinSockConnectToHost 0, "127.0.0.1"
Send Array(1, 2, 3)
Send Array(4, 5)
Set control = Nothing
' It has gone with its connection, so its port is free.
peer.WinSockClose 0
peer.SetWinSockLocalPort 0, WScript.Arguments(0)
peer.WinSockListen 0
WScript.Echo "nobody listens there any more"
