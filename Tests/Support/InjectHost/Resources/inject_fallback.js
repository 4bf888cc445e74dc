console.log("shipped");
