// A host in JavaScript: upscales one frame from Node.js on 64-bit Windows and writes the result as a PPM file. It calls
// the library through koffi, a foreign-function interface.
//
//     npm install
//     node upscale.js ..\..\bin\liborvane.dll ..\..\bin\weights\default.en 32 2 upscaled.ppm
'use strict';
const fs = require('node:fs');
const path = require('node:path');
const koffi = require('koffi');

// The records used here. orvane.h documents each field.
koffi.struct('orvane_open_param', {
  inputWidth: 'uint32_t',
  inputHeight: 'uint32_t',
  outputWidth: 'uint32_t',
  outputHeight: 'uint32_t',
  pixelFormat: 'uint32_t',
  reserved0: 'uint32_t',
  modelChannels: 'int32_t',
  modelDepth: 'int32_t',
  reserved1: 'uint32_t',
  modelPath: koffi.array('char', 1024, 'String'),
});
koffi.struct('orvane_frame', {
  userValue: 'uint64_t',
  width: 'int32_t',
  height: 'int32_t',
  format: 'uint32_t',
  stride: 'int32_t',
  reserved: koffi.array('uint8_t', 16),
  data: 'uint8_t *',
});
koffi.struct('orvane_check_result', {
  supported: 'uint32_t',
  status: 'uint32_t',
  adapterCount: 'uint32_t',
  osVersion: koffi.array('char', 32, 'String'),
  adapterName: koffi.array('char', 128, 'String'),
});

function load(dll) {
  const library = koffi.load(path.resolve(dll));
  return {
    getVersion: library.func('const char *orvane_get_version()'),
    checkSupported: library.func('int orvane_check_supported(_Out_ orvane_check_result *result, void *cls)'),
    open: library.func('void *orvane_open(const orvane_open_param *param)'),
    process: library.func('int orvane_process(void *handle, _Inout_ orvane_frame *output, const orvane_frame *input)'),
    close: library.func('int orvane_close(void *handle)'),
  };
}

// Blocks this thread during the frame. `orvane.process.async` would run it on another thread. For many frames allocate
// the output once. After a lost device close every instance before opening again.
function upscale(orvane, handle, pixels, width, height) {
  const upscaled = Buffer.alloc(pixels.length * 4);
  const frame = { userValue: 0, width, height, format: 0, stride: width * 4, reserved: Array(16).fill(0), data: pixels };
  const output = { ...frame, stride: width * 8, data: upscaled };
  const result = orvane.process(handle, output, frame);
  if (result !== 0) {
    throw new Error(`orvane_process returned ${result}`);
  }
  return upscaled;
}

function main([dll, model, channels, depth, target]) {
  const orvane = load(dll);
  const support = {};
  if (orvane.checkSupported(support, null) !== 0) {
    throw new Error(`this machine cannot run the library: status ${support.status}`);
  }

  const [width, height] = [64, 36];
  const pixels = Buffer.alloc(width * height * 4);
  for (let i = 0; i < width * height; ++i) {
    pixels.set([((i % width) * 255) / width, (Math.floor(i / width) * 255) / height, 128, 255], i * 4);
  }

  const handle = orvane.open({
    inputWidth: width, inputHeight: height, outputWidth: 2 * width, outputHeight: 2 * height, pixelFormat: 0, reserved0: 0,
    modelChannels: Number(channels), modelDepth: Number(depth), reserved1: 0, modelPath: model,
  });
  if (handle === null) {
    throw new Error(`${model} cannot be opened`);
  }
  try {
    const upscaled = upscale(orvane, handle, pixels, width, height);
    const rgb = Buffer.from(upscaled.filter((_, i) => i % 4 !== 3));
    fs.writeFileSync(target, Buffer.concat([Buffer.from(`P6 ${2 * width} ${2 * height} 255\n`), rgb]));
  } finally {
    orvane.close(handle);
  }
  return `Orvane ${orvane.getVersion()} on ${support.adapterName}: ${target}`;
}

if (process.argv.length !== 7) {
  console.error('usage: node upscale.js LIBORVANE.DLL MODEL CHANNELS DEPTH RESULT.ppm');
  process.exit(2);
}
const message = main(process.argv.slice(2));
try {
  console.log(message);
} catch {
  // No standard output, for example under Wine.
}
