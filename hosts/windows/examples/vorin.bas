' Vorin from VB6 and from VBA of 32 bit: a module with the declarations and one inversion.
' In VBA of 64 bit write "Declare PtrSafe Sub"; nothing else changes.
' Arrays are handed over by their first element. VB stores them column by column, as the library
' expects: K(i, j) is sample i at grid time j. A String handed over ByVal arrives as its characters.
Option Explicit

Private Declare Sub Vorin_s Lib "Vorin01056.dll" (ByVal nf As Long, ByVal ng As Long, _
    K As Single, Y As Single, F As Single, status As Long)
Private Declare Sub VorinSQR Lib "Vorin01056.dll" (ByVal mode As String, ByVal key As String, _
    value As Single, status As Long)
Private Declare Sub VorinSQC Lib "Vorin01056.dll" (ByVal mode As String, ByVal key As String, _
    ByVal text As String, length As Long, status As Long)

Public Sub Example()
    Const nf As Long = 100, ng As Long = 20
    Dim K(1 To nf, 1 To ng) As Single, Y(1 To nf) As Single, F(1 To ng) As Single
    Dim i As Long, j As Long, status As Long, noise As Single, weight As Single
    For j = 1 To ng
        For i = 1 To nf
            K(i, j) = Exp(-i / (2 * 1.4 ^ (j - 1)))
        Next i
    Next j
    For i = 1 To nf
        Y(i) = 0.5 * K(i, 6) + 0.5 * K(i, 16)
    Next i
    noise = 0.001
    VorinSQR "S", "SIG ", noise, status
    Vorin_s nf, ng, K(1, 1), Y(1), F(1), status
    VorinSQR "Q", "CWEI", weight, i
    Debug.Print "status"; status; "weight"; weight
    For j = 1 To ng
        Debug.Print 2 * 1.4 ^ (j - 1), F(j)
    Next j
End Sub
