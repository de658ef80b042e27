namespace kx {}
