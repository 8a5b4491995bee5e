// Vorin from C#: inverts a computed decay and prints the distribution. Build the program for x86 or
// x64, as the library is: an AnyCPU program takes the size of the machine.
using System;
using System.Runtime.InteropServices;

static class Example
{
    // CallingConvention.Winapi, the default, is __stdcall on 32 bit.
    [DllImport("Vorin01056.dll")]
    static extern void Vorin_s(int nf, int ng, float[] K, float[] Y, [In, Out] float[] F, ref int status);
    [DllImport("Vorin01056.dll", CharSet = CharSet.Ansi)]
    static extern void VorinSQR(string mode, string key, ref float value, ref int status);

    static void Main()
    {
        const int nf = 100, ng = 20;
        var K = new float[nf * ng];  // column-major: sample i of grid time j is K[i + j * nf]
        var Y = new float[nf];
        var F = new float[ng];
        int status = -1, queried = -1;
        for (int j = 0; j < ng; j++)
            for (int i = 0; i < nf; i++)
                K[i + j * nf] = (float)Math.Exp(-(i + 1) / (2 * Math.Pow(1.4, j)));
        for (int i = 0; i < nf; i++)
            Y[i] = 0.5f * K[i + 5 * nf] + 0.5f * K[i + 15 * nf];
        float noise = 0.001f, weight = 0;
        VorinSQR("S", "SIG ", ref noise, ref status);
        Vorin_s(nf, ng, K, Y, F, ref status);
        VorinSQR("Q", "CWEI", ref weight, ref queried);
        Console.WriteLine($"status {status}, weight {weight:0.000e+00}");
        for (int j = 0; j < ng; j++)
            Console.WriteLine($"{2 * Math.Pow(1.4, j),8:f2} ms {F[j],8:f4}");
    }
}
