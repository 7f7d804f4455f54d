'! syntax-error.vbs(5, *
'= 2
WScript.Echo "not run"
Dim x
Dim = 3
