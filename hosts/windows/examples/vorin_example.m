% Vorin from MATLAB: inverts a computed decay and plots the distribution. MATLAB reads vorin.h, for
% which it needs a C compiler (mex -setup). The folders of the library and the header are on the path.
if ~libisloaded('Vorin01056')
    loadlibrary('Vorin01056', 'vorin.h');
end
nf = 100; ng = 20;
T = 2 * 1.4.^(0:ng-1);                       % ms, a row
K = single(exp(-(1:nf)' ./ T));              % nf x ng; MATLAB stores columns, as the library expects
Y = single(0.5 * K(:, 6) + 0.5 * K(:, 16));
F = zeros(ng, 1, 'single');
calllib('Vorin01056', 'VorinSQR', 'S', 'SIG ', single(0.001), int32(0));
% What is handed over by address comes back as results, in the order of the arguments.
[~, ~, F, status] = calllib('Vorin01056', 'Vorin_s', nf, ng, K, Y, F, int32(-1));
[~, ~, weight] = calllib('Vorin01056', 'VorinSQR', 'Q', 'CWEI', single(0), int32(0));
fprintf('status %d, weight %.3e\n', status, weight);
semilogx(T, F);
