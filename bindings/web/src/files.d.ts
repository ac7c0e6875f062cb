// The bundler puts these in as base64.
declare module '*.wasm' {
  const base64: string;
  export default base64;
}
declare module '*.model' {
  const base64: string;
  export default base64;
}
